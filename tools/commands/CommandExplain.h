#pragma once

#include "tools/frame/Command.h"

namespace trigora::tools {

/// `trigoractl explain press`: what a press would come to, and why, without anything happening.
Command explainPressCommand();

} // namespace trigora::tools
