#pragma once

#include "tools/frame/Command.h"

namespace trigora::tools {

/// `buttons`: the scanners that are there, their sensors, what each button would run, presses as they come,
/// and what stands in the way.
Command buttonsCommand();

} // namespace trigora::tools
