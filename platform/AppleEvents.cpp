#include "platform/AppleEvents.h"

#include <algorithm>

namespace trigora::platform {

const AppleEventParameter* AppleEvent::parameter(std::uint32_t keyword) const {
    const auto found = std::find_if(parameters.begin(), parameters.end(),
                                    [&](const auto& p) { return p.keyword == keyword; });
    return found == parameters.end() ? nullptr : &*found;
}

} // namespace trigora::platform
