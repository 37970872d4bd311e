#pragma once

#include "tools/frame/Command.h"

namespace trigora::tools {

/// `trigoractl check`: reads every installed and user file and says what is wrong with it.
Command checkCommand();

} // namespace trigora::tools
