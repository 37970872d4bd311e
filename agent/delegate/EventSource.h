#pragma once

#include <functional>
#include <string>

namespace trigora {

/// One source of events beside the service manager (the network service, the USB push scan, the button
/// manager), as the application delegate drives it. Functions that a source has no use for stay empty.
struct EventSource {
    std::string name;                               ///< for the log
    std::function<void()> start;                    ///< at the end of launching
    std::function<void()> stop;                     ///< when the agent terminates
    std::function<void()> networkSettingsDidChange; ///< the settings application changed the network settings
};

} // namespace trigora
