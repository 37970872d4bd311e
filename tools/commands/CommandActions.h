#pragma once

#include "tools/frame/Command.h"

namespace trigora::tools {

/// `actions`: lists the installed actions and whether their applications are there.
Command actionsCommand();

} // namespace trigora::tools
