#pragma once

#include "agent/service/ScanPress.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace trigora {

/// The requests for confirmation that the scan assistant has not answered yet, in their order.
///
/// An answer does not say which request it is to. Most often there is one of each. There are more when a
/// press takes another's place, when a request is repeated to an assistant that may have heard it the first
/// time, and when the assistant was at work for an agent before this one. An answer taken for another's would
/// end a scan that runs, or be a second end of a press that is over.
class UnansweredRequests {
public:
    /// What the project that is running makes of an answer.
    enum class Run {
        none,     ///< no project is running
        confirms, ///< it waits for one, to perform its action
        scans,    ///< it waits for the end of its scan
    };
    enum class Answered {
        press, ///< the press in progress
        pressDuringScan,
        run,    ///< the running project
        nothing ///< a request that does not count any more
    };

    /// The assistant was asked for a press. One that was not known to listen may not have heard it.
    void posted(std::int32_t assistant, const ScanPress& press, bool isHeard);
    /// It was asked for something else: for the running project, or by an agent before this one.
    void postedWithoutPress(std::int32_t assistant, bool isHeard);
    /// The assistant has gone, and its last words have been heard.
    void forget(std::int32_t assistant);
    /// What an answer is to, given the press in progress and whether the answer tells of that press's driver.
    /// An answer to an earlier press on the same scanner serves the press in progress as well: not every
    /// assistant answers the one that was replaced.
    Answered answered(const ScanPress& press, bool tellsOfDriver, Run run);

private:
    struct Request {
        std::int32_t assistant;
        std::uint64_t serial; ///< 0 without a press
        std::optional<std::string> driverName;
        bool isHeard;
    };

    std::vector<Request> requests_;
};

} // namespace trigora
