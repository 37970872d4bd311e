#include "platform/linux/processes/ProcessStatus.h"

#include "platform/Text.h"
#include "platform/linux/processes/ProcFile.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <ctime>
#include <unistd.h>

namespace trigora::platform {

namespace {

double ticksIn(const std::string& field) {
    std::uint64_t ticks = 0;
    std::from_chars(field.data(), field.data() + field.size(), ticks);
    return static_cast<double>(ticks);
}

double secondsSinceMachineStart() {
    timespec now = {};
    ::clock_gettime(CLOCK_BOOTTIME, &now);
    return static_cast<double>(now.tv_sec) + static_cast<double>(now.tv_nsec) / 1e9;
}

} // namespace

std::optional<ProcessStatus> processStatus(std::int32_t processID) {
    const std::string line = procFile(processID, "stat");
    // The second field is a name in brackets that may itself hold brackets and blanks.
    const std::size_t name = line.rfind(')');
    if (name == std::string::npos) {
        return std::nullopt;
    }
    const std::vector<std::string> fields =
        componentsSeparatedByString(line.substr(std::min(name + 2, line.size())), " ");
    constexpr std::size_t parent = 1;
    constexpr std::size_t userTime = 11;
    constexpr std::size_t systemTime = 12;
    constexpr std::size_t startTime = 19;
    if (fields.size() <= startTime || fields[0].empty()) {
        return std::nullopt;
    }
    const auto ticksPerSecond = static_cast<double>(::sysconf(_SC_CLK_TCK));
    const double processorTicks = ticksIn(fields[userTime]) + ticksIn(fields[systemTime]);
    return ProcessStatus{fields[0][0], integerValue(fields[parent]), processorTicks * 60 / ticksPerSecond,
                         ticksIn(fields[startTime]) / ticksPerSecond};
}

std::optional<std::chrono::milliseconds> ageOfProcess(std::int32_t processID) {
    const std::optional<ProcessStatus> status = processStatus(processID);
    if (!status || status->state == 'Z' || status->state == 'X') {
        return std::nullopt;
    }
    return std::chrono::milliseconds(
        std::llround((secondsSinceMachineStart() - status->startSeconds) * 1000));
}

} // namespace trigora::platform
