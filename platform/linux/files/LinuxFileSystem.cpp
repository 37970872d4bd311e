#include "platform/linux/files/DiskPath.h"
#include "platform/linux/files/FolderListing.h"
#include "platform/linux/files/ItemAttributes.h"
#include "platform/linux/files/ItemPlace.h"
#include "platform/linux/files/LinuxFiles.h"
#include "platform/linux/files/TemporaryItem.h"
#include "platform/linux/files/TreeCopy.h"

#include <algorithm>
#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

namespace trigora::platform {

namespace {

namespace fs = std::filesystem;

bool isFolder(const std::string& path) {
    struct stat status = {};
    return ::stat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

/// And not a link to one.
bool isFolderItself(const std::string& path) {
    struct stat status = {};
    return ::lstat(path.c_str(), &status) == 0 && S_ISDIR(status.st_mode);
}

/// Not one that another user has put in the place of what this one made.
bool isOwn(const FileDescriptor& item) {
    struct stat status = {};
    return ::fstat(item.get(), &status) == 0 && status.st_uid == ::geteuid();
}

bool removeTree(const ItemPlace& item) {
    std::error_code error;
    const auto removed = fs::remove_all(item.path(), error);
    return !error && removed > 0;
}

/// Whether the destination is the folder itself or would lie inside it.
bool isInside(const std::string& destination, const std::string& folder) {
    std::error_code error;
    const fs::path outer = fs::canonical(folder, error);
    const fs::path inner = error ? fs::path() : fs::weakly_canonical(destination, error);
    if (error) {
        return false;
    }
    return std::mismatch(outer.begin(), outer.end(), inner.begin(), inner.end()).first == outer.end();
}

/// A folder cannot be copied into itself.
bool copyPath(const std::string& from, const std::string& to) {
    return !(isFolderItself(from) && isInside(to, from)) &&
           copyWhole(ItemPlace::of(from, LastLink::isTheItem), ItemPlace::of(to, LastLink::isTheItem));
}

} // namespace

bool LinuxFileSystem::exists(const std::string& path) {
    struct stat status = {};
    return ::stat(diskPath(root_, path).c_str(), &status) == 0;
}

bool LinuxFileSystem::isDirectory(const std::string& path) { return isFolder(diskPath(root_, path)); }

std::optional<std::vector<std::string>> LinuxFileSystem::contentsOfDirectory(const std::string& path) {
    return namesIn(diskPath(root_, path));
}

bool LinuxFileSystem::createDirectory(const std::string& path, bool withIntermediateDirectories,
                                      const std::optional<FileAttributes>& attributes) {
    const std::string folder = diskPath(root_, path);
    if (folder.empty()) {
        return false;
    }
    if (withIntermediateDirectories && isFolder(folder)) {
        return true;
    }
    const std::string parent = fs::path(folder).parent_path().string();
    if (withIntermediateDirectories && !parent.empty() && !isFolder(parent) &&
        !createDirectory(parent, true, attributes)) {
        return false;
    }
    // Nobody else may enter before the folder has the permissions that it is to have.
    const ItemPlace place = ItemPlace::of(folder, LastLink::isTheItem);
    const mode_t mode = attributes && attributes->posixPermissions ? 0700 : 0777;
    if (!place || ::mkdirat(place.folder(), place.name().c_str(), mode) != 0) {
        return withIntermediateDirectories && isFolder(folder);
    }
    if (!attributes) {
        return true;
    }
    const FileDescriptor made = place.open(O_RDONLY | O_DIRECTORY);
    return made && isOwn(made) && applyAttributes(made, *attributes);
}

bool LinuxFileSystem::copyItem(const std::string& path, const std::string& destination) {
    return copyPath(diskPath(root_, path), diskPath(root_, destination));
}

bool LinuxFileSystem::moveItem(const std::string& path, const std::string& destination) {
    const ItemPlace from = ItemPlace::of(diskPath(root_, path), LastLink::isTheItem);
    const ItemPlace to = ItemPlace::of(diskPath(root_, destination), LastLink::isTheItem);
    if (!from || !to) {
        return false;
    }
    const int failure = renameOnto(from.folder(), from.name(), to.folder(), to.name());
    if (failure != EXDEV) {
        return failure == 0;
    }
    return copyWhole(from, to) && removeTree(from);
}

bool LinuxFileSystem::removeItem(const std::string& path) {
    const ItemPlace item = ItemPlace::of(diskPath(root_, path), LastLink::isTheItem);
    return item && item.name() != "." && removeTree(item);
}

} // namespace trigora::platform
