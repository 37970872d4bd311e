#include "companions/PScanAssistant/documents/DocumentFile.h"

#include "platform/Text.h"

#include <fcntl.h>
#include <sys/file.h>
#include <sys/sendfile.h>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <utility>

namespace trigora::companions {

namespace {

constexpr mode_t fileMode = 0666;
constexpr std::int64_t highestNumber = 999'999;
// Some file systems take shorter names than most.
constexpr std::size_t shortPrefix = 60;

int openUnnamed(const std::string& folder) {
    return ::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, fileMode);
}

/// The path's last characters, six times X, become those of a new name.
int openInWorkFolder(std::string& path) {
    const int descriptor = ::mkostemp(path.data(), O_CLOEXEC);
    if (descriptor >= 0) {
        // mkostemp makes files that only their owner can read.
        ::fchmod(descriptor, S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH);
        ::flock(descriptor, LOCK_EX | LOCK_NB);
    }
    return descriptor;
}

/// Where there are no second names either, as on disks of other computers: reserves the name with an empty
/// file and puts the real one into its place. 0, or the error number.
int takeName(const std::string& from, const std::string& path) {
    const int reserved = ::open(path.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, fileMode);
    if (reserved < 0) {
        return errno;
    }
    ::close(reserved);
    if (::rename(from.c_str(), path.c_str()) == 0) {
        return 0;
    }
    const int error = errno;
    ::unlink(path.c_str());
    return error;
}

/// 0, or the error number.
int nameUnnamed(int descriptor, const std::string& path) {
    const std::string source = "/proc/self/fd/" + std::to_string(descriptor);
    return ::linkat(AT_FDCWD, source.c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) == 0 ? 0 : errno;
}

bool hasRoom(const struct statvfs& disk, double bytes) {
    return disk.f_blocks == 0 ||
           static_cast<double>(disk.f_bavail) * static_cast<double>(disk.f_frsize) >= bytes;
}

/// The whole file, and written out.
bool copyContents(int from, int to) {
    struct stat status = {};
    if (::fstat(from, &status) != 0) {
        return false;
    }
    off_t copied = 0;
    while (copied < status.st_size) {
        const ssize_t count =
            ::sendfile(to, from, &copied, static_cast<std::size_t>(status.st_size - copied));
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            errno = count == 0 ? EIO : errno;
            return false;
        }
    }
    return ::fsync(to) == 0;
}

/// Tries the names one after another until `give` succeeds. `give` gets a path and answers with 0 or an error
/// number.
template <typename Give> bool takeFirstFree(const std::string& folder, NumberedName& name, const Give& give) {
    for (; name.number <= highestNumber; ++name.number) {
        errno = give(platform::appendingPathComponent(folder, name.text()));
        if (errno == ENAMETOOLONG && name.prefix.size() > shortPrefix) {
            name.prefix = platform::utf8Prefix(name.prefix, shortPrefix);
            errno = give(platform::appendingPathComponent(folder, name.text()));
        }
        if (errno == 0) {
            return true;
        }
        if (errno != EEXIST) {
            return false;
        }
    }
    return false;
}

} // namespace

std::string NumberedName::title() const {
    std::array<char, 24> digits{};
    std::snprintf(digits.data(), digits.size(), "%03lld", static_cast<long long>(number));
    return prefix + digits.data();
}

std::string NumberedName::text() const { return title() + '.' + extension; }

std::optional<DocumentFile> DocumentFile::create(const std::string& folder, const std::string& workFolder,
                                                 bool survives) {
    if (::access(folder.c_str(), W_OK | X_OK) != 0) {
        return std::nullopt;
    }
    if (!survives) {
        const int unnamed = openUnnamed(folder);
        if (unnamed >= 0) {
            return DocumentFile(unnamed, {});
        }
    }
    std::string path = platform::appendingPathComponent(workFolder, "scan-XXXXXX");
    const int descriptor = openInWorkFolder(path);
    if (descriptor >= 0) {
        return DocumentFile(descriptor, path);
    }
    // Better a document that does not survive than none.
    const int unnamed = openUnnamed(folder);
    return unnamed >= 0 ? std::optional(DocumentFile(unnamed, {})) : std::nullopt;
}

std::optional<DocumentFile> DocumentFile::reopen(const std::string& workPath) {
    const int descriptor = ::open(workPath.c_str(), O_RDWR | O_CLOEXEC | O_NOFOLLOW);
    if (descriptor < 0) {
        return std::nullopt;
    }
    DocumentFile file(descriptor, workPath);
    // Whoever is writing it holds the lock.
    if (::flock(descriptor, LOCK_EX | LOCK_NB) != 0) {
        file.stay();
        return std::nullopt;
    }
    return file;
}

DocumentFile::DocumentFile(DocumentFile&& other) noexcept
    : descriptor_(std::exchange(other.descriptor_, -1)), workPath_(std::exchange(other.workPath_, {})) {}

DocumentFile::~DocumentFile() {
    if (!workPath_.empty()) {
        ::unlink(workPath_.c_str());
    }
    if (descriptor_ >= 0) {
        ::close(descriptor_);
    }
}

bool DocumentFile::write(const std::uint8_t* bytes, std::size_t count) const {
    while (count > 0) {
        const ssize_t written = ::write(descriptor_, bytes, count);
        if (written < 0 && errno == EINTR) {
            continue;
        }
        if (written <= 0) {
            return false;
        }
        bytes += written;
        count -= static_cast<std::size_t>(written);
    }
    return true;
}

bool DocumentFile::hasRoomFor(const std::string& folder, double bytes) const {
    struct statvfs own = {};
    struct statvfs target = {};
    if ((::fstatvfs(descriptor_, &own) != 0 || hasRoom(own, bytes)) &&
        (::statvfs(folder.c_str(), &target) != 0 || hasRoom(target, bytes))) {
        return true;
    }
    errno = ENOSPC;
    return false;
}

bool DocumentFile::reserve(std::uint64_t bytes) const {
    const off_t end = ::lseek(descriptor_, 0, SEEK_END);
    return end < 0 || ::fallocate(descriptor_, FALLOC_FL_KEEP_SIZE, end, static_cast<off_t>(bytes)) == 0 ||
           errno != ENOSPC;
}

bool DocumentFile::cut(std::uint64_t length) const {
    const auto end = static_cast<off_t>(length);
    return ::ftruncate(descriptor_, end) == 0 && ::lseek(descriptor_, end, SEEK_SET) == end;
}

int DocumentFile::giveName(const std::string& path) const {
    if (workPath_.empty()) {
        return nameUnnamed(descriptor_, path);
    }
    if (::renameat2(AT_FDCWD, workPath_.c_str(), AT_FDCWD, path.c_str(), RENAME_NOREPLACE) == 0) {
        return 0;
    }
    if (errno != EINVAL && errno != ENOSYS) {
        return errno;
    }
    // A file system that cannot rename without replacing; a second name fails when it is taken, too.
    if (::link(workPath_.c_str(), path.c_str()) == 0) {
        ::unlink(workPath_.c_str());
        return 0;
    }
    return errno == EEXIST || errno == EXDEV ? errno : takeName(workPath_, path);
}

bool DocumentFile::copyInto(const std::string& folder, NumberedName& name) const {
    const int unnamed = openUnnamed(folder);
    if (unnamed >= 0) {
        const bool isThere =
            copyContents(descriptor_, unnamed) &&
            takeFirstFree(folder, name, [&](const std::string& path) { return nameUnnamed(unnamed, path); });
        const int error = errno;
        ::close(unnamed);
        errno = error;
        return isThere;
    }
    // A file system that shows every file from its first byte on; a hidden name would be seen there, too.
    int copy = -1;
    std::string copyPath;
    const bool isThere =
        takeFirstFree(folder, name,
                      [&](const std::string& path) {
                          copy = ::open(path.c_str(), O_CREAT | O_EXCL | O_WRONLY | O_CLOEXEC, fileMode);
                          copyPath = path;
                          return copy >= 0 ? 0 : errno;
                      }) &&
        copyContents(descriptor_, copy);
    const int error = errno;
    if (copy >= 0) {
        ::close(copy);
        if (!isThere) {
            ::unlink(copyPath.c_str());
        }
    }
    errno = error;
    return isThere;
}

bool DocumentFile::publish(const std::string& folder, NumberedName& name) {
    // What was set aside and not needed is handed back.
    struct stat status = {};
    const bool isTooLong = ::fstat(descriptor_, &status) == 0 &&
                           static_cast<off_t>(status.st_blocks) * 512 > status.st_size + status.st_blksize;
    if ((isTooLong && ::ftruncate(descriptor_, status.st_size) != 0) || ::fsync(descriptor_) != 0) {
        return false;
    }
    if (takeFirstFree(folder, name, [this](const std::string& path) { return giveName(path); })) {
        workPath_.clear();
        return true;
    }
    return errno == EXDEV && copyInto(folder, name);
}

} // namespace trigora::companions
