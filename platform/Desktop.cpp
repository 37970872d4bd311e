#include "platform/Desktop.h"

#include "platform/Platform.h"

namespace trigora::platform {

bool isKnownDriver(const std::optional<std::string>& driverName, std::size_t bufferSize) {
    IDConverter& converter = current().idConverter;
    return driverName && converter.hasModelIDWithTwainID() &&
           converter.PS2GetModelIDWithTwainID(*driverName, bufferSize) == 0;
}

std::optional<std::string> firstPreferredLanguage() {
    const std::optional<Value> languages = current().userDefaults.value("AppleLanguages");
    const Array* list = languages ? languages->array() : nullptr;
    if (list == nullptr || list->empty() || list->front().text() == nullptr) {
        return std::nullopt;
    }
    return *list->front().text();
}

} // namespace trigora::platform
