#pragma once

#include "tools/frame/Command.h"

namespace trigora::tools {

/// `bind`: has a button's event run a project.
Command bindCommand();
/// `unbind`: has a button's event run its default project again.
Command unbindCommand();

} // namespace trigora::tools
