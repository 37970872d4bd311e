#include "platform/linux/files/DiskPath.h"
#include "platform/linux/files/LinuxFiles.h"

#include <array>
#include <cerrno>
#include <filesystem>
#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <sys/xattr.h>
#include <vector>

namespace trigora::platform {

namespace {

/// Runs one of the account look-ups of the C library with a buffer that grows until it is large enough.
/// Gives what `take` makes of the record, none when there is no such account.
template <typename Record, typename LookUp, typename Take> auto account(LookUp lookUp, Take take) {
    constexpr std::size_t largestBuffer = std::size_t{1} << 20;
    std::vector<char> buffer(1024);
    Record record = {};
    Record* found = nullptr;
    while (lookUp(&record, buffer.data(), buffer.size(), &found) == ERANGE && buffer.size() < largestBuffer) {
        buffer.resize(buffer.size() * 4);
    }
    return found == nullptr ? std::nullopt : std::optional(take(*found));
}

std::optional<uid_t> userID(const std::string& name) {
    return account<passwd>([&](auto... rest) { return ::getpwnam_r(name.c_str(), rest...); },
                           [](const passwd& record) { return record.pw_uid; });
}

std::optional<gid_t> groupID(const std::string& name) {
    return account<group>([&](auto... rest) { return ::getgrnam_r(name.c_str(), rest...); },
                          [](const group& record) { return record.gr_gid; });
}

std::optional<std::uint32_t> creatorCode(const std::string& path) {
    std::array<std::uint8_t, 4> bytes = {};
    const ssize_t length = ::getxattr(path.c_str(), creatorAttribute, bytes.data(), bytes.size());
    if (length != static_cast<ssize_t>(bytes.size())) {
        return std::nullopt;
    }
    std::uint32_t code = 0;
    for (const std::uint8_t byte : bytes) {
        code = (code << 8) | byte;
    }
    return code;
}

bool setCreatorCode(const std::string& path, std::uint32_t code) {
    std::array<std::uint8_t, 4> bytes = {};
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<std::uint8_t>(code >> (24 - 8 * i));
    }
    // Without extended attributes there is nowhere to keep it, which harms nobody.
    return ::setxattr(path.c_str(), creatorAttribute, bytes.data(), bytes.size(), 0) == 0 || errno == ENOTSUP;
}

/// Changes the accounts that exist; the kernel keeps those given as -1.
bool setAccounts(const std::string& path, const FileAttributes& attributes) {
    const auto& owner = attributes.ownerAccountName;
    const auto& group = attributes.groupOwnerAccountName;
    const std::optional<uid_t> user = owner ? userID(*owner) : std::nullopt;
    const std::optional<gid_t> users = group ? groupID(*group) : std::nullopt;
    if (!user && !users) {
        return true;
    }
    return ::chown(path.c_str(), user.value_or(static_cast<uid_t>(-1)),
                   users.value_or(static_cast<gid_t>(-1))) == 0;
}

} // namespace

bool applyAttributes(const std::string& item, const FileAttributes& attributes) {
    bool done = true;
    if (attributes.hfsCreatorCode) {
        done = setCreatorCode(item, *attributes.hfsCreatorCode);
    }
    // Permissions before accounts: afterwards the file may be another's. Each applies even if the other
    // does not.
    if (attributes.posixPermissions) {
        done = ::chmod(item.c_str(), *attributes.posixPermissions & 07777) == 0 && done;
    }
    return setAccounts(item, attributes) && done;
}

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
    const std::string item = diskPath(root_, path);
    struct stat status = {};
    return ::stat(item.c_str(), &status) == 0 && applyAttributes(item, attributes);
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
    return ::symlink(diskPath(root_, destination).c_str(), diskPath(root_, path).c_str()) == 0;
}

bool LinuxFileMetadata::linkItem(const std::string& path, const std::string& destination) {
    return ::link(diskPath(root_, path).c_str(), diskPath(root_, destination).c_str()) == 0;
}

} // namespace trigora::platform
