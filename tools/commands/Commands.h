#pragma once

#include "tools/frame/Command.h"

#include <span>

namespace trigora::tools {

/// All commands, as the help lists them.
std::span<const Command> commands();

} // namespace trigora::tools
