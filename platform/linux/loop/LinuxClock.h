#pragma once

#include "platform/Clock.h"

namespace trigora::platform {

/// The monotonic clock in millionths of a second, as the loop and the bus library count.
std::uint64_t monotonicMicroseconds();

/// The kernel's clocks. The monotonic one stands still while the machine sleeps.
class LinuxClock final : public Clock {
public:
    WallTime wallTime() override;
    double monotonicSeconds() override;
    std::int64_t processorTime() override;
    /// Sleeps the whole time, also when signals arrive; returns at once for 0 and less.
    void sleepMicroseconds(std::int64_t microseconds) override;
};

} // namespace trigora::platform
