#pragma once

#include "platform/linux/files/ItemPlace.h"

namespace trigora::platform {

/// Copies a file, a link or a whole tree with permissions, times and creator codes; pipes, sockets and
/// devices are not copied. The copy takes its name when it is whole and on the disk, and never an existing
/// item's place. A tree must not be copied into itself. False, and nothing of a copy left, when that fails.
bool copyWhole(const ItemPlace& from, const ItemPlace& to);

} // namespace trigora::platform
