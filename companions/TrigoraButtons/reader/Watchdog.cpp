#include "companions/TrigoraButtons/reader/Watchdog.h"

#include <csignal>

namespace trigora::buttons {

Watchdog::Watchdog() {
    sigevent event{};
    event.sigev_notify = SIGEV_SIGNAL;
    event.sigev_signo = SIGKILL; // some back-ends handle other signals
    isMade_ = ::timer_create(CLOCK_MONOTONIC, &event, &timer_) == 0;
}

Watchdog::~Watchdog() {
    if (isMade_) {
        ::timer_delete(timer_);
    }
}

void Watchdog::allow(std::chrono::seconds time) const {
    itimerspec due{};
    due.it_value.tv_sec = time.count();
    if (isMade_) {
        ::timer_settime(timer_, 0, &due, nullptr);
    }
}

} // namespace trigora::buttons
