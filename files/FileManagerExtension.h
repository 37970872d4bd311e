#pragma once

#include "platform/FileSystem.h"
#include "platform/Value.h"

#include <functional>
#include <optional>
#include <string>
#include <vector>

/// The file operations that the whole system uses. Each tests its precondition and then does its work;
/// none reports more than "it did not work". An item is tested for existence through links, so that a link
/// to nothing does not exist. Any thread.
namespace trigora {

using platform::FileAttributes;
using platform::FileSystemAttributes;

bool itemExistsAtPath(const std::string& path);
/// None when there is no such item. Without `traverseLink` a link's own attributes are given.
std::optional<FileAttributes> exFileAttributesAtPath(const std::string& path, bool traverseLink);
/// Sets the attributes that are given; false when there is no such item.
bool exChangeFileAttributes(const FileAttributes& attributes, const std::string& path);
/// Names in ascending order of their bytes; none unless the path is a readable folder.
std::optional<std::vector<std::string>> exDirectoryContentsAtPath(const std::string& path);
/// The items of a folder whose names have the extension, as paths, in ascending order of the names; none
/// when it cannot be read.
std::vector<std::string> pathsWithExtension(const std::string& folder, const std::string& extension);
std::optional<FileSystemAttributes> exFileSystemAttributesAtPath(const std::string& path);
/// Where a link leads, as it is written there; none when that does not exist or the path is not a link.
std::optional<std::string> exPathContentOfSymbolicLinkAtPath(const std::string& path);
/// Makes a link at the path; false when what it shall lead to does not exist.
bool exCreateSymbolicLinkAtPath(const std::string& path, const std::string& pathContent);
/// Makes a folder; false when something exists at the path already. Of the intermediate folders, "~/Library"
/// and "~/Library/Preferences" are as a home has them: for its user only.
bool exCreateDirectoryAtPath(const std::string& path, bool withIntermediateDirectories,
                             const std::optional<FileAttributes>& attributes);
/// Makes a second name (a hard link) at `toPath`.
bool exLinkPath(const std::string& path, const std::string& toPath);
/// Copies a file or a whole tree; an existing destination is a failure.
bool exCopyPath(const std::string& path, const std::string& toPath);
/// Moves a file or a whole tree; an existing destination is a failure.
bool exMovePath(const std::string& path, const std::string& toPath);
/// Tried whether or not anything exists at the path.
bool exRemoveItemAtPath(const std::string& path);

/// None when the file cannot be read or is not a property list that holds a dictionary.
std::optional<Dictionary> dictionaryWithContentsOfFile(const std::string& path);
/// Writes a property list with the attributes of a written file; one that cannot be written leaves what is at
/// the path as it is. A file there that cannot be read is kept aside, see `writeKeepingAside`.
bool writePropertyList(const Dictionary& dictionary, const std::string& path, bool atomically);
/// Has `write` put a new item at the path. What is there is overwritten if it `isReadable`; if not, it may
/// still be of worth to its user: it is kept beside it with ".damaged" behind its name, in the place of an
/// earlier one, and comes back when nothing could be written. Returns what `write` returns.
bool writeKeepingAside(const std::string& path, bool isReadable, const std::function<bool()>& write);

/// The path and those of its ancestors that do not exist, the topmost first.
std::vector<std::string> missingFoldersOfPath(const std::string& path);

/// What files that the agent writes get: owner "owner", group "group", permissions 0666.
FileAttributes attributesOfWrittenFile();
/// What folders that the agent makes get: owner "owner", group "group", permissions 0777.
FileAttributes attributesOfMadeFolder();
/// Makes those of the two folders above that the path lies in and that are missing. What the agent keeps in
/// them may be written to by everybody who can enter them.
void makePrivateFoldersOfHome(const std::string& path);

} // namespace trigora
