#pragma once

#include "tools/check/Findings.h"

namespace trigora::tools {

/// The installed modules of other makers: those that the agent cannot load or has no use for. Each is loaded
/// by a process of its own, because that runs code of the module.
void checkModules(Findings& findings);

} // namespace trigora::tools
