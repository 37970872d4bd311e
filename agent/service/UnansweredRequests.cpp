#include "agent/service/UnansweredRequests.h"

#include <algorithm>

namespace trigora {

namespace {

std::optional<std::string> driverOf(const ScanPress& press) {
    return platform::textAt(press.event, "driverName");
}

} // namespace

void UnansweredRequests::posted(std::int32_t assistant, const ScanPress& press, bool isHeard) {
    requests_.push_back({assistant, press.serial, driverOf(press), isHeard});
}

void UnansweredRequests::postedWithoutPress(std::int32_t assistant, bool isHeard) {
    requests_.push_back({assistant, 0, std::nullopt, isHeard});
}

void UnansweredRequests::forget(std::int32_t assistant) {
    std::erase_if(requests_, [&](const Request& request) { return request.assistant == assistant; });
}

UnansweredRequests::Answered UnansweredRequests::answered(const ScanPress& press, bool tellsOfDriver,
                                                          Run run) {
    if (requests_.empty()) { // somebody else has asked
        return run == Run::none ? Answered::press : Answered::run;
    }
    const auto heard = std::ranges::find(requests_, true, &Request::isHeard);
    const auto oldest = heard == requests_.end() ? requests_.begin() : heard;
    const Request request = *oldest;
    requests_.erase(oldest);
    if (run == Run::confirms) {
        // What may have been heard would have been answered by now.
        std::erase_if(requests_, [](const Request& each) { return !each.isHeard; });
        return Answered::run;
    }
    const bool isPress = press.serial != 0;
    const bool isToPress = isPress && request.serial == press.serial;
    if (run == Run::scans) {
        return isToPress ? Answered::pressDuringScan : Answered::nothing;
    }
    const bool isToSameScanner = request.serial != 0 && request.driverName == driverOf(press);
    return isToPress || (isPress && (isToSameScanner || tellsOfDriver || !request.isHeard))
               ? Answered::press
               : Answered::nothing;
}

} // namespace trigora
