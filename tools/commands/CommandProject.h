#pragma once

#include "tools/frame/Command.h"

namespace trigora::tools {

// The group `project`, which changes the user's own projects.

/// `project new`: makes a project with the default scan settings, or a folder project.
Command projectNewCommand();
/// `project copy`: makes a project of the user's own from another one.
Command projectCopyCommand();
/// `project set`: changes scan settings or the action.
Command projectSetCommand();
/// `project delete`: removes a project with its files.
Command projectDeleteCommand();

} // namespace trigora::tools
