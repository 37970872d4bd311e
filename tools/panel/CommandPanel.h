#pragma once

#include "tools/frame/Command.h"

namespace trigora::tools {

/// `panel`: does what the user of a scanner does at its control panel, against an agent with the simulated
/// modules.
Command panelCommand();

} // namespace trigora::tools
