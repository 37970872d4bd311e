#pragma once

#include "tools/frame/Command.h"

namespace trigora::tools {

/// `projects`: lists the projects and says why one is not available.
Command projectsCommand();

} // namespace trigora::tools
