#include "platform/linux/files/DiskPath.h"
#include "platform/linux/files/ItemAttributes.h"
#include "platform/linux/files/ItemPlace.h"
#include "platform/linux/files/LinuxFiles.h"

#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

namespace trigora::platform {

std::optional<FileAttributes> LinuxFileMetadata::attributes(const std::string& path, bool traverseLink) {
    const std::string item = diskPath(root_, path);
    struct stat status = {};
    if ((traverseLink ? ::stat(item.c_str(), &status) : ::lstat(item.c_str(), &status)) != 0) {
        return std::nullopt;
    }
    FileAttributes attributes;
    attributes.posixPermissions = status.st_mode & 07777;
    attributes.isDirectory = S_ISDIR(status.st_mode);
    attributes.isSymbolicLink = S_ISLNK(status.st_mode);
    attributes.size = static_cast<std::uint64_t>(status.st_size);
    attributes.modificationTime =
        static_cast<double>(status.st_mtim.tv_sec) + static_cast<double>(status.st_mtim.tv_nsec) / 1e9;
    if (!attributes.isSymbolicLink) {
        attributes.hfsCreatorCode = creatorCode(item);
    }
    return attributes;
}

bool LinuxFileMetadata::setAttributes(const std::string& path, const FileAttributes& attributes) {
    const FileDescriptor item = ItemPlace::of(diskPath(root_, path), LastLink::isFollowed).open(O_PATH);
    return item && applyAttributes(item, attributes);
}

std::optional<FileSystemAttributes> LinuxFileMetadata::fileSystemAttributes(const std::string& path) {
    struct statvfs status = {};
    if (::statvfs(diskPath(root_, path).c_str(), &status) != 0) {
        return std::nullopt;
    }
    return FileSystemAttributes{status.f_blocks * status.f_frsize, status.f_bavail * status.f_frsize};
}

std::optional<std::string> LinuxFileMetadata::destinationOfSymbolicLink(const std::string& path) {
    std::error_code error;
    const auto destination = std::filesystem::read_symlink(diskPath(root_, path), error);
    return error ? std::nullopt : std::optional(root_.asInstalled(destination.string()));
}

bool LinuxFileMetadata::createSymbolicLink(const std::string& path, const std::string& destination) {
    // An installed destination is written as it lies on the disk, so that other programs can follow it.
    const ItemPlace link = ItemPlace::of(diskPath(root_, path), LastLink::isTheItem);
    return link && ::symlinkat(diskPath(root_, destination).c_str(), link.folder(), link.name().c_str()) == 0;
}

bool LinuxFileMetadata::linkItem(const std::string& path, const std::string& destination) {
    const ItemPlace item = ItemPlace::of(diskPath(root_, path), LastLink::isTheItem);
    const ItemPlace other = ItemPlace::of(diskPath(root_, destination), LastLink::isTheItem);
    return item && other &&
           ::linkat(item.folder(), item.name().c_str(), other.folder(), other.name().c_str(), 0) == 0;
}

} // namespace trigora::platform
