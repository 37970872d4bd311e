#include "agent/service/UnansweredRequests.h"

#include <algorithm>

namespace trigora {

void UnansweredRequests::posted(std::int32_t assistant, std::uint64_t serial, bool isHeard) {
    requests_.push_back({assistant, serial, isHeard});
}

void UnansweredRequests::forget(std::int32_t assistant) {
    std::erase_if(requests_, [&](const Request& request) { return request.assistant == assistant; });
}

UnansweredRequests::Answered UnansweredRequests::answered(std::uint64_t press, bool tellsOfDriver, Run run) {
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
    const bool isToPress = press != 0 && request.serial == press;
    if (run == Run::scans) {
        return isToPress ? Answered::pressDuringScan : Answered::nothing;
    }
    return isToPress || (press != 0 && (tellsOfDriver || !request.isHeard)) ? Answered::press
                                                                            : Answered::nothing;
}

} // namespace trigora
