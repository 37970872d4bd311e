#pragma once

#include "tools/frame/Command.h"

namespace trigora::tools {

/// `press`: tells the agent that a scanner's button was pressed, as the scanner's driver would.
Command pressCommand();

} // namespace trigora::tools
