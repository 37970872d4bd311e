#pragma once

#include "platform/Value.h"

#include <string>

namespace trigora {

/// Answers the Apple Event 'PLsc'/'Stat' with what the agent is doing now, for those who look after it, as
/// `agent/event/StatusRequest.h` tells. It answers for as long as it lives. Main thread only.
class StatusReport {
public:
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
