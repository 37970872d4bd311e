#pragma once

#include <cstdint>
#include <string>
#include <sys/types.h>
#include <vector>

namespace trigora::bench {

/// A program started for a measurement; it is ended and waited for with this object. What it writes goes
/// nowhere. Throws when it cannot be started.
class Program {
public:
    /// Environment variables ("NAME=value") count before those of this process.
    explicit Program(const std::string& path, const std::vector<std::string>& environment = {});
    ~Program();
    Program(const Program&) = delete;
    Program& operator=(const Program&) = delete;

    pid_t processID() const { return processID_; }
    /// How often its threads were given a processor so far.
    std::int64_t contextSwitches() const;
    /// A line of /proc/PID/smaps_rollup, such as "Pss", in kilobytes.
    std::int64_t memory(const std::string& kind) const;

private:
    pid_t processID_ = 0;
};

/// Processes of this user that sleep, such as a desktop's session has.
class SleepingProcesses {
public:
    explicit SleepingProcesses(int count);
    ~SleepingProcesses();
    SleepingProcesses(const SleepingProcesses&) = delete;
    SleepingProcesses& operator=(const SleepingProcesses&) = delete;

private:
    std::vector<pid_t> processIDs_;
};

} // namespace trigora::bench
