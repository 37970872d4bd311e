#pragma once

#include <chrono>
#include <cstdint>
#include <optional>

namespace trigora::platform {

/// What the kernel tells of a process.
struct ProcessStatus {
    char state = 0;
    std::int32_t parentID = 0;
    double processorSixtieths = 0; ///< of a second
    double startSeconds = 0;       ///< since the machine was started
};

/// None when there is no such process.
std::optional<ProcessStatus> processStatus(std::int32_t processID);

/// How long ago the process started; none when it has ended.
std::optional<std::chrono::milliseconds> ageOfProcess(std::int32_t processID);

} // namespace trigora::platform
