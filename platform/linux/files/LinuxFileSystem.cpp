#include "platform/linux/files/DiskPath.h"
#include "platform/linux/files/LinuxFiles.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdio>
#include <dirent.h>
#include <endian.h>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <numeric>
#include <sys/stat.h>
#include <sys/xattr.h>

namespace trigora::platform {

namespace {

namespace fs = std::filesystem;

/// Deeper trees than this are no user's and would exhaust the stack.
constexpr int deepestTree = 256;

bool statusOf(const std::string& path, bool followingLinks, struct stat& status) {
    const int result = followingLinks ? ::stat(path.c_str(), &status) : ::lstat(path.c_str(), &status);
    return result == 0;
}

/// Whether there is anything at the path, even a link that leads nowhere.
bool isOccupied(const std::string& path) {
    struct stat status = {};
    return statusOf(path, false, status);
}

bool isFolder(const std::string& path) {
    struct stat status = {};
    return statusOf(path, true, status) && S_ISDIR(status.st_mode);
}

/// Sorts by the names' bytes. Those of a folder often begin alike, which makes comparing them slow; here the
/// eight bytes behind what all have in common decide first.
void sortNames(std::vector<std::string>& names) {
    struct Entry {
        std::uint64_t leadingBytes;
        std::string* name;
    };
    const auto lengthInCommon = [&](std::size_t length, const std::string& name) {
        const std::string& first = names.front();
        length = std::min(length, name.size());
        return static_cast<std::size_t>(
            std::mismatch(name.begin(), name.begin() + static_cast<std::ptrdiff_t>(length), first.begin())
                .first -
            name.begin());
    };
    const std::size_t common = std::accumulate(names.begin(), names.end(), std::string::npos, lengthInCommon);
    std::vector<Entry> entries;
    entries.reserve(names.size());
    for (std::string& name : names) {
        std::uint64_t bytes = 0;
        name.copy(reinterpret_cast<char*>(&bytes), sizeof bytes, common);
        entries.push_back({be64toh(bytes), &name});
    }
    std::sort(entries.begin(), entries.end(), [](const Entry& left, const Entry& right) {
        return left.leadingBytes != right.leadingBytes ? left.leadingBytes < right.leadingBytes
                                                       : *left.name < *right.name;
    });
    std::vector<std::string> sorted;
    sorted.reserve(names.size());
    for (const Entry& entry : entries) {
        sorted.push_back(std::move(*entry.name));
    }
    names = std::move(sorted);
}

struct FolderCloser {
    void operator()(DIR* folder) const { ::closedir(folder); }
};

/// Watched folders with very many files are listed every few seconds: this takes half the time of the
/// standard library's iterator, which makes paths of the names.
std::optional<std::vector<std::string>> namesIn(const std::string& folder) {
    const std::unique_ptr<DIR, FolderCloser> opened(::opendir(folder.c_str()));
    if (!opened) {
        return std::nullopt;
    }
    std::vector<std::string> names;
    errno = 0;
    while (const dirent* entry = ::readdir(opened.get())) {
        const std::string_view name = entry->d_name;
        if (name != "." && name != "..") {
            names.emplace_back(name);
        }
        errno = 0;
    }
    if (errno != 0) {
        return std::nullopt;
    }
    sortNames(names);
    return names;
}

/// Permissions, times and creator code. What cannot be kept is no reason to lose the copy.
void keepAttributes(const std::string& from, const struct stat& status, const std::string& to) {
    copyCreatorCode(from, to);
    const std::array<timespec, 2> times = {status.st_atim, status.st_mtim};
    ::utimensat(AT_FDCWD, to.c_str(), times.data(), 0);
    ::chmod(to.c_str(), status.st_mode & 07777);
}

bool copyTree(const std::string& from, const std::string& to, int depth);

bool copyFolder(const std::string& from, const struct stat& status, const std::string& to, int depth) {
    const auto names = namesIn(from);
    if (!names || depth >= deepestTree || ::mkdir(to.c_str(), 0700) != 0) {
        return false;
    }
    const bool whole = std::all_of(names->begin(), names->end(), [&](const std::string& name) {
        return copyTree(from + "/" + name, to + "/" + name, depth + 1);
    });
    keepAttributes(from, status, to);
    return whole;
}

bool copyFile(const std::string& from, const struct stat& status, const std::string& to) {
    std::error_code error;
    if (!fs::copy_file(from, to, fs::copy_options::none, error) || error) {
        return false;
    }
    keepAttributes(from, status, to);
    const FileDescriptor file = openRegularFile(to, O_RDONLY);
    return !file || ::fsync(file.get()) == 0; // a copy that may not be read is synced with the rest, later
}

/// Pipes, sockets and devices are not copied.
bool copyTree(const std::string& from, const std::string& to, int depth) {
    struct stat status = {};
    if (!statusOf(from, false, status)) {
        return false;
    }
    if (S_ISDIR(status.st_mode)) {
        return copyFolder(from, status, to, depth);
    }
    if (S_ISLNK(status.st_mode)) {
        std::error_code error;
        fs::copy_symlink(from, to, error);
        return !error;
    }
    return S_ISREG(status.st_mode) && copyFile(from, status, to);
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

/// Renames without replacing; gives 0 or the error number.
int renameOnto(const std::string& from, const std::string& to) {
    if (::renameat2(AT_FDCWD, from.c_str(), AT_FDCWD, to.c_str(), RENAME_NOREPLACE) == 0) {
        return 0;
    }
    // Not every file system knows the flag.
    if (errno != EINVAL && errno != ENOSYS) {
        return errno;
    }
    if (isOccupied(to)) {
        return EEXIST;
    }
    return ::rename(from.c_str(), to.c_str()) == 0 ? 0 : errno;
}

/// The copy takes its name when it is whole and on the disk, and never an existing item's place.
bool copyWhole(const std::string& from, const std::string& to) {
    struct stat status = {};
    if (!statusOf(from, false, status) || isOccupied(to) || (S_ISDIR(status.st_mode) && isInside(to, from))) {
        return false;
    }
    const std::string folder = fs::path(to).parent_path().string();
    const std::string copy = temporaryPathIn(folder.empty() ? "." : folder);
    if (isOccupied(copy)) {
        return false;
    }
    if (copyTree(from, copy, 0) && renameOnto(copy, to) == 0) {
        return true;
    }
    std::error_code error;
    fs::remove_all(copy, error);
    return false;
}

bool removeTree(const std::string& path) {
    std::error_code error;
    const auto removed = fs::remove_all(path, error);
    return !error && removed > 0;
}

} // namespace

bool LinuxFileSystem::exists(const std::string& path) {
    struct stat status = {};
    return statusOf(diskPath(root_, path), true, status);
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
    if (::mkdir(folder.c_str(), 0777) != 0) {
        return withIntermediateDirectories && isFolder(folder);
    }
    return !attributes || LinuxFileMetadata(root_).setAttributes(path, *attributes);
}

bool LinuxFileSystem::copyItem(const std::string& path, const std::string& destination) {
    return copyWhole(diskPath(root_, path), diskPath(root_, destination));
}

bool LinuxFileSystem::moveItem(const std::string& path, const std::string& destination) {
    const std::string from = diskPath(root_, path);
    const std::string to = diskPath(root_, destination);
    const int failure = renameOnto(from, to);
    if (failure != EXDEV) {
        return failure == 0;
    }
    return copyWhole(from, to) && removeTree(from);
}

bool LinuxFileSystem::removeItem(const std::string& path) {
    const std::string item = diskPath(root_, path);
    return !item.empty() && item != "/" && removeTree(item);
}

} // namespace trigora::platform
