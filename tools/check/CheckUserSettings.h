#pragma once

#include "tools/check/Findings.h"

namespace trigora::tools {

/// Projects, predefined ones, those of devices and the user's.
void checkProjects(Findings& findings);
/// Which projects the buttons of each model are bound to.
void checkBindings(Findings& findings);
void checkWatchedFolders(Findings& findings);
/// The other property lists of the user's.
void checkNetworkSettings(Findings& findings);

} // namespace trigora::tools
