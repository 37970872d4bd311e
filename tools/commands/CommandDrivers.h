#pragma once

#include "tools/frame/Command.h"

namespace trigora::tools {

/// `drivers`: lists the scanner drivers and models that the installed files know.
Command driversCommand();

} // namespace trigora::tools
