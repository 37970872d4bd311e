#pragma once

#include "tools/frame/Command.h"

namespace trigora::tools {

/// `trigoractl test-scan`: has the agent run a project as the settings application does to try it.
Command testScanCommand();

} // namespace trigora::tools
