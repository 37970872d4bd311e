#include "platform/linux/loop/LinuxClock.h"

#include <cerrno>
#include <ctime>

namespace trigora::platform {

namespace {

constexpr std::int64_t microsecondsPerSecond = 1000000;

timespec now(clockid_t clock) {
    timespec time{};
    clock_gettime(clock, &time);
    return time;
}

} // namespace

std::uint64_t monotonicMicroseconds() {
    const timespec time = now(CLOCK_MONOTONIC);
    return static_cast<std::uint64_t>(time.tv_sec) * microsecondsPerSecond +
           static_cast<std::uint64_t>(time.tv_nsec) / 1000;
}

WallTime LinuxClock::wallTime() {
    const timespec time = now(CLOCK_REALTIME);
    return {time.tv_sec, static_cast<std::int32_t>(time.tv_nsec / 1000)};
}

double LinuxClock::monotonicSeconds() {
    const timespec time = now(CLOCK_MONOTONIC);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) / 1e9;
}

std::int64_t LinuxClock::processorTime() {
    const timespec time = now(CLOCK_PROCESS_CPUTIME_ID);
    return std::int64_t{time.tv_sec} * microsecondsPerSecond + time.tv_nsec / 1000;
}

void LinuxClock::sleepMicroseconds(std::int64_t microseconds) {
    if (microseconds <= 0) {
        return;
    }
    timespec remaining{microseconds / microsecondsPerSecond, microseconds % microsecondsPerSecond * 1000};
    while (clock_nanosleep(CLOCK_MONOTONIC, 0, &remaining, &remaining) == EINTR) {
    }
}

} // namespace trigora::platform
