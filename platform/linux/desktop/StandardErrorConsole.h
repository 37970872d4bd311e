#pragma once

#include "platform/Desktop.h"

namespace trigora::platform {

/// Standard error, which is the journal under a user service. A line goes out whole, in one write.
class StandardErrorConsole final : public Console {
public:
    void write(std::string_view line) override;
};

} // namespace trigora::platform
