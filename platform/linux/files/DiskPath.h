#pragma once

#include "platform/linux/files/FileDescriptor.h"
#include "platform/linux/files/InstallationRoot.h"

#include <string>
#include <string_view>

namespace trigora::platform {

/// The path to hand to the operating system: relocated and without trailing slashes, so that a link is
/// named itself. Empty, which names nothing, for a text that holds a NUL and would be cut there.
std::string diskPath(const InstallationRoot& root, std::string_view path);

/// A name in the folder that no other item of this or any running process has, for what is put in its place
/// when it is whole.
std::string temporaryPathIn(const std::string& folder);

/// Opens an existing regular file with the given flags; none for anything else. Never blocks, and never
/// opens a device or a pipe, which may act on being opened.
FileDescriptor openRegularFile(const std::string& pathOnDisk, int flags);

/// The extended attribute that holds a file's creator code, four bytes.
constexpr const char* creatorAttribute = "user.hfs.creator";

/// Gives one file the creator code of another, as far as there is one and the file system keeps it.
void copyCreatorCode(const std::string& from, const std::string& to);

} // namespace trigora::platform
