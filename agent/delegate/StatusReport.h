#pragma once

#include "platform/AppleEvents.h"
#include "platform/Text.h"
#include "platform/Value.h"

#include <string>

namespace trigora {

/// Answers the Apple Event 'PLsc'/'Stat' with what the agent is doing now, for those who look after it. The
/// reply's direct parameter, of type 'utf8', is one JSON object:
///
///     "processID", "root" (of the installation), "uptime" (seconds), "log" (whether it is on),
///     "press" (the event in progress, or nothing), "projectIsRunning", "application" (of the project that is
///     running, or nothing), "watchedFolders" and "modules" (lists of paths)
///
/// It answers for as long as it lives. Main thread only.
class StatusReport {
public:
    static constexpr std::uint32_t eventClass = platform::productEventClass;
    static constexpr std::uint32_t eventID = platform::fourCharCode("Stat");

    explicit StatusReport(std::string root);
    ~StatusReport();
    StatusReport(const StatusReport&) = delete;
    StatusReport& operator=(const StatusReport&) = delete;

private:
    Dictionary status() const;

    std::string root_;
    double startSeconds_; ///< monotonic
};

} // namespace trigora
