#pragma once

#include "platform/Value.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace trigora::platform {

constexpr std::int32_t fnfErr = -43; ///< there is no such file

struct FileAttributes {
    // Accounts are only ever set, not read: looking them up loads the system's account services.
    std::optional<std::string> ownerAccountName;
    std::optional<std::string> groupOwnerAccountName;
    std::optional<std::uint32_t> posixPermissions; ///< the twelve permission bits
    std::optional<std::uint32_t> hfsCreatorCode;   ///< kept as an extended attribute where there are any

    // Only ever read.
    bool isDirectory = false;
    bool isSymbolicLink = false;
    std::uint64_t size = 0;      ///< bytes
    double modificationTime = 0; ///< seconds since 1970
};

/// Of what every user of the machine shares: owner "owner", group "group".
inline FileAttributes attributesSharedByAll(std::uint32_t permissions) {
    FileAttributes attributes;
    attributes.ownerAccountName = "owner";
    attributes.groupOwnerAccountName = "group";
    attributes.posixPermissions = permissions;
    return attributes;
}

struct FileSystemAttributes {
    std::uint64_t size = 0;     ///< bytes
    std::uint64_t freeSize = 0; ///< bytes that the user may still fill
};

/// Items on disk. Links are followed unless said otherwise; what makes, changes or removes something follows
/// none that another user may have put in the way, and fails. Installed paths are relocated below the
/// installation root here and in the classes beside this one, and nowhere else. Any thread.
class FileSystem {
public:
    virtual ~FileSystem() = default;

    virtual bool exists(const std::string& path) = 0;
    virtual bool isDirectory(const std::string& path) = 0;
    /// Names without "." and "..", in ascending order of their bytes; none when it cannot be listed.
    virtual std::optional<std::vector<std::string>> contentsOfDirectory(const std::string& path) = 0;
    /// Makes a folder; an existing one is a failure unless intermediate folders are wanted.
    virtual bool createDirectory(const std::string& path, bool withIntermediateDirectories,
                                 const std::optional<FileAttributes>& attributes) = 0;
    /// Copies a file, a link or a whole tree; an existing destination is a failure.
    virtual bool copyItem(const std::string& path, const std::string& destination) = 0;
    /// Moves, also between file systems; an existing destination is a failure.
    virtual bool moveItem(const std::string& path, const std::string& destination) = 0;
    /// Removes a file, a link (not what it points to) or a whole tree.
    virtual bool removeItem(const std::string& path) = 0;
};

/// What the files hold. Any thread.
class FileContents {
public:
    virtual ~FileContents() = default;

    /// Bytes of the longest text and property list that are read: a hundred times what any settings or
    /// catalogue file has, and still parsed in the wink of an eye.
    static constexpr std::size_t longestSettings = std::size_t{1} << 20;
    /// Bytes of the longest picture file that is read.
    static constexpr std::size_t longestPicture = std::size_t{8} << 20;

    /// The whole of a regular file; none for anything else, for what cannot be read, and, without a byte of
    /// it being read, for what is longer than `mostBytes`. Never blocks on a pipe or a device.
    virtual std::optional<Data> read(const std::string& path, std::size_t mostBytes) = 0;
    /// Writes the whole file, which afterwards is either complete or as it was. Atomically also means
    /// that it is a new file put in the old one's place; otherwise an existing file's attributes are kept.
    /// What a writer that was killed has left in the folder is removed.
    virtual bool write(const std::string& path, const Data& data, bool atomically) = 0;
    /// Appends to a regular file in one write; false when it cannot be opened, or it or its folder is a link.
    /// A missing file is made with the attributes, or not at all without.
    virtual bool append(const std::string& path, std::string_view text,
                        const std::optional<FileAttributes>& ofNewFile) = 0;
};

/// What is known about the files. Any thread.
class FileMetadata {
public:
    virtual ~FileMetadata() = default;

    virtual std::optional<FileAttributes> attributes(const std::string& path, bool traverseLink) = 0;
    /// Sets those that are given. Accounts that do not exist are passed over; true when the rest was set.
    virtual bool setAttributes(const std::string& path, const FileAttributes& attributes) = 0;
    virtual std::optional<FileSystemAttributes> fileSystemAttributes(const std::string& path) = 0;
    virtual std::optional<std::string> destinationOfSymbolicLink(const std::string& path) = 0;
    virtual bool createSymbolicLink(const std::string& path, const std::string& destination) = 0;
    virtual bool linkItem(const std::string& path, const std::string& destination) = 0;
};

/// Folders that are where they are on this system.
class Folders {
public:
    virtual ~Folders() = default;

    virtual std::string home() = 0;
    /// The user's documents folder, made when missing; none when that fails.
    virtual std::optional<std::string> documents() = 0;
    /// Where `documents` is, or would be made.
    virtual std::string documentsPath() = 0;
    /// The folder that holds the applications; none when there is none.
    virtual std::optional<std::string> applications() = 0;
};

/// The file manager's name for an item: the last component, without "app" when it is an application.
std::string displayNameAtPath(const std::string& path);

/// Replaces a leading "~" (alone or before "/") with the home folder of the platform in use.
std::string expandingTildeInPath(std::string_view path);

} // namespace trigora::platform
