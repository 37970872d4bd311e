#pragma once

#include <cstdint>

namespace trigora::platform {

/// A moment of the wall clock.
struct WallTime {
    std::int64_t seconds = 0; ///< since 1970-01-01 00:00:00 UTC
    std::int32_t microseconds = 0;
};

/// The three clocks and the sleep. Any thread.
class Clock {
public:
    virtual ~Clock() = default;

    virtual WallTime wallTime() = 0;
    /// Seconds that never go backwards.
    virtual double monotonicSeconds() = 0;
    /// Processor time that the whole process has used, in millionths of a second.
    virtual std::int64_t processorTime() = 0;
    virtual void sleepMicroseconds(std::int64_t microseconds) = 0;
};

} // namespace trigora::platform
