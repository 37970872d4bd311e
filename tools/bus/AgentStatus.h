#pragma once

#include "platform/Value.h"

#include <optional>
#include <string>

namespace trigora::tools {

class SessionBus;

/// What the agent says of itself (the keys are those of `StatusReport`); none when it does not answer within
/// five seconds, and the error then says why.
std::optional<Dictionary> statusOfAgent(const SessionBus& bus, std::string& error);

} // namespace trigora::tools
