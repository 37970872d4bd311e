#pragma once

#include "platform/FileSystem.h"
#include "platform/linux/files/FileDescriptor.h"

#include <cstdint>
#include <optional>
#include <string>

namespace trigora::platform {

/// Gives the open item the attributes, each even when another cannot be given. One opened with O_PATH will
/// do.
bool applyAttributes(const FileDescriptor& item, const FileAttributes& attributes);

/// None where there is none, or the file system keeps none.
std::optional<std::uint32_t> creatorCode(const std::string& pathOnDisk);

/// Gives the file the creator code of another, as far as there is one and the file system keeps it.
void copyCreatorCode(const std::string& from, const FileDescriptor& to);

} // namespace trigora::platform
