#pragma once

#include "platform/linux/files/FileDescriptor.h"
#include "platform/linux/loop/LinuxRunLoop.h"

#include <systemd/sd-device.h>

#include <functional>
#include <map>
#include <memory>
#include <string>

namespace trigora::buttons {

/// Hears of USB devices that come and go. It wakes nobody while nothing happens.
class PlugMonitor {
public:
    struct Events {
        std::function<void()> plugged; ///< something that may be a scanner
        std::function<void(const std::string& node)> unplugged;
    };

    virtual ~PlugMonitor() = default;

    /// What the system's device manager says, once it has given the user the rights.
    static std::unique_ptr<PlugMonitor> ofSystem(platform::LinuxRunLoop& loop, Events events);
    /// What appears in the folders of a folder that stands for /dev/bus/usb.
    static std::unique_ptr<PlugMonitor> ofFolder(platform::LinuxRunLoop& loop, const std::string& folder,
                                                 Events events);
};

} // namespace trigora::buttons
