#pragma once

#include "tools/frame/Command.h"

namespace trigora::tools {

/// `events`: lists the events with what they run, and the watched folders.
Command eventsCommand();

} // namespace trigora::tools
