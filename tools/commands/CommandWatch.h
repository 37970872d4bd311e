#pragma once

#include "tools/frame/Command.h"

namespace trigora::tools {

/// `watch`: has new files in a folder opened by the application of a folder project.
Command watchCommand();
/// `unwatch`: leaves a watched folder alone again.
Command unwatchCommand();

} // namespace trigora::tools
