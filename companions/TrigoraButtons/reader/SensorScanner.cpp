#include "companions/TrigoraButtons/reader/SensorScanner.h"

#include <cmath>

namespace trigora::buttons {

namespace {

std::string textOf(const char* text) { return text != nullptr ? text : ""; }

bool isSensor(const SANE_Option_Descriptor& descriptor) {
    const bool hasOneValue = descriptor.type == SANE_TYPE_STRING
                                 ? descriptor.size > 0
                                 : (descriptor.type == SANE_TYPE_BOOL || descriptor.type == SANE_TYPE_INT) &&
                                       descriptor.size == static_cast<SANE_Int>(sizeof(SANE_Word));
    return hasOneValue && SANE_OPTION_IS_ACTIVE(descriptor.cap) &&
           (descriptor.cap & SANE_CAP_SOFT_DETECT) != 0 && !SANE_OPTION_IS_SETTABLE(descriptor.cap);
}

} // namespace

SensorScanner::SensorScanner(SANE_Handle handle) : handle_(handle) {
    SANE_Int count = 0; // option 0 holds the number of options, itself included
    if (sane_control_option(handle_, 0, SANE_ACTION_GET_VALUE, &count, nullptr) != SANE_STATUS_GOOD) {
        return;
    }
    for (SANE_Int index = 1; index < count; ++index) {
        const SANE_Option_Descriptor* descriptor = sane_get_option_descriptor(handle_, index);
        if (descriptor != nullptr && descriptor->name != nullptr && isSensor(*descriptor)) {
            indices_.emplace(descriptor->name, index);
        }
    }
}

std::vector<SensorOption> SensorScanner::sensors() const {
    std::vector<SensorOption> options;
    for (const auto& [name, index] : indices_) {
        const SANE_Option_Descriptor* descriptor = sane_get_option_descriptor(handle_, index);
        options.push_back({name, descriptor != nullptr ? textOf(descriptor->title) : ""});
    }
    return options;
}

std::optional<std::string> SensorScanner::value(const std::string& option, bool readsTwice) {
    const auto found = indices_.find(option);
    if (found == indices_.end()) {
        return std::nullopt;
    }
    if (readsTwice) {
        valueAt(found->second);
    }
    return valueAt(found->second);
}

std::optional<std::string> SensorScanner::valueAt(SANE_Int index) const {
    const SANE_Option_Descriptor* descriptor = sane_get_option_descriptor(handle_, index);
    if (descriptor == nullptr || !isSensor(*descriptor)) {
        return std::nullopt; // options come and go with others
    }
    std::vector<char> text(static_cast<std::size_t>(descriptor->size) + 1, '\0');
    SANE_Word word = 0;
    const bool isText = descriptor->type == SANE_TYPE_STRING;
    void* value = isText ? static_cast<void*>(text.data()) : &word;
    if (sane_control_option(handle_, index, SANE_ACTION_GET_VALUE, value, nullptr) != SANE_STATUS_GOOD) {
        return std::nullopt;
    }
    return isText ? std::string(text.data()) : std::to_string(word);
}

Refusal refusalOf(SANE_Status status) {
    switch (status) {
    case SANE_STATUS_DEVICE_BUSY:
        return Refusal::busy;
    case SANE_STATUS_ACCESS_DENIED:
        return Refusal::accessDenied;
    default:
        return Refusal::failed;
    }
}

std::string wordsFor(SANE_Status status) { return textOf(sane_strstatus(status)); }

} // namespace trigora::buttons
