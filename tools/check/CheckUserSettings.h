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
/// Whether every user of the machine can enter the folder that holds the settings, which are open to all.
void checkWhoMayEnter(Findings& findings);

} // namespace trigora::tools
