#pragma once

#include "platform/linux/files/FileDescriptor.h"
#include "platform/linux/files/InstallationRoot.h"

#include <string>
#include <string_view>

namespace trigora::platform {

/// The path to hand to the operating system: relocated and without trailing slashes, so that a link is
/// named itself. Empty, which names nothing, for a text that holds a NUL and would be cut there.
std::string diskPath(const InstallationRoot& root, std::string_view path);

/// Opens an existing regular file with the given flags; none for anything else. Never blocks, and never
/// opens a device or a pipe, which may act on being opened.
FileDescriptor openRegularFile(const std::string& pathOnDisk, int flags);
/// The same for a name in an open folder.
FileDescriptor openRegularFileIn(int folder, const std::string& name, int flags);

} // namespace trigora::platform
