#include "companions/TrigoraButtons/devices/Seat.h"

#include "platform/Guarded.h"

#include <unistd.h>

#include <cstdlib>
#include <utility>

namespace trigora::buttons {

Seat::Seat(platform::LinuxRunLoop& loop, std::function<void(bool)> changed) : changed_(std::move(changed)) {
    sd_login_monitor* monitor = nullptr;
    if (::sd_login_monitor_new("seat", &monitor) < 0) {
        return;
    }
    monitor_.reset(monitor);
    sd_event_source* source = nullptr;
    ::sd_event_add_io(loop.event(), &source, ::sd_login_monitor_get_fd(monitor),
                      static_cast<std::uint32_t>(::sd_login_monitor_get_events(monitor)), arrived, this);
    source_.reset(source);
}

int Seat::arrived(sd_event_source*, int, std::uint32_t, void* seat) {
    platform::guarded([&] { static_cast<Seat*>(seat)->look(); });
    return 0;
}

void Seat::look() {
    ::sd_login_monitor_flush(monitor_.get());
    const bool isActive = isUserActive();
    if (isActive != std::exchange(isActive_, isActive)) {
        changed_(isActive);
    }
}

bool Seat::isUserActive() {
    char** seats = nullptr;
    const int count = ::sd_get_seats(&seats);
    bool isThisUser = false;
    bool isAnybody = false;
    for (int i = 0; i < count; ++i) {
        uid_t user = 0;
        if (::sd_seat_get_active(seats[i], nullptr, &user) >= 0) {
            isAnybody = true;
            isThisUser = isThisUser || user == ::getuid();
        }
        std::free(seats[i]);
    }
    std::free(seats);
    return isThisUser || !isAnybody;
}

} // namespace trigora::buttons
