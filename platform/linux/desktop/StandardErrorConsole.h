#pragma once

#include "platform/Desktop.h"

#include <atomic>

namespace trigora::platform {

/// Standard error, which is the journal under a user service. A line goes out in one write; one that is not
/// taken at once is lost.
class StandardErrorConsole final : public Console {
public:
    void write(std::string_view line) override;

private:
    std::atomic<bool> isCut_ = false; ///< the last line went out in part
};

} // namespace trigora::platform
