#pragma once

#include "platform/linux/loop/LinuxRunLoop.h"

#include <systemd/sd-login.h>

#include <functional>
#include <memory>

namespace trigora::buttons {

/// Whether this user is the one at the desk, as the system's login manager says. Without one, and while
/// nobody is at any seat, this user is.
class Seat {
public:
    Seat(platform::LinuxRunLoop& loop, std::function<void(bool isActive)> changed);

    bool isActive() const { return isActive_; }

private:
    static int arrived(sd_event_source* source, int descriptor, std::uint32_t events, void* seat);
    static bool isUserActive();
    void look();

    struct Release {
        void operator()(sd_login_monitor* monitor) const { ::sd_login_monitor_unref(monitor); }
    };

    std::function<void(bool)> changed_;
    bool isActive_ = isUserActive();
    std::unique_ptr<sd_login_monitor, Release> monitor_;
    platform::EventSourcePointer source_; // goes before the monitor
};

} // namespace trigora::buttons
