#pragma once

#include <chrono>
#include <ctime>

namespace trigora::buttons {

/// Ends this process when a back-end does not come back in time. Nothing else would: a thread that waits
/// inside a back-end cannot be called off. The service sees the process gone and starts another one.
class Watchdog {
public:
    Watchdog();
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;
    ~Watchdog();

    /// From now on the process has so long until the next call.
    void allow(std::chrono::seconds time) const;

private:
    timer_t timer_{};
    bool isMade_ = false;
};

} // namespace trigora::buttons
