#pragma once

#include "tools/frame/Command.h"

namespace trigora::tools {

/// `trigoractl status`: whether an agent runs in this session, and what it is doing.
Command statusCommand();

} // namespace trigora::tools
