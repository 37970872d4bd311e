#pragma once

#include "tools/frame/Command.h"

namespace trigora::tools {

// Switches the log of all programs of the system on and off, and shows it.

/// `trigoractl log on`: makes the log folder.
Command logOnCommand();
/// `trigoractl log off`: sets the log folder aside with all that is in it; nothing is deleted.
Command logOffCommand();
/// `trigoractl log follow`: prints what is logged, as it is logged.
Command logFollowCommand();

} // namespace trigora::tools
