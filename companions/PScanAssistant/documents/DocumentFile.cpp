#include "companions/PScanAssistant/documents/DocumentFile.h"

#include "platform/Text.h"

#include <fcntl.h>
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

int openHidden(std::string& path) {
    const int descriptor = ::mkostemp(path.data(), O_CLOEXEC);
    if (descriptor >= 0) {
        // mkostemp makes files that only their owner can read.
        ::fchmod(descriptor, S_IRUSR | S_IWUSR | S_IRGRP | S_IROTH);
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

} // namespace

std::string NumberedName::text() const {
    std::array<char, 24> digits{};
    std::snprintf(digits.data(), digits.size(), "%03lld", static_cast<long long>(number));
    return prefix + digits.data() + '.' + extension;
}

std::optional<DocumentFile> DocumentFile::create(const std::string& folder) {
    const int unnamed = ::open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, fileMode);
    if (unnamed >= 0) {
        return DocumentFile(folder, unnamed, {});
    }
    std::string path = platform::appendingPathComponent(folder, ".scan-XXXXXX");
    const int hidden = openHidden(path);
    if (hidden < 0) {
        return std::nullopt;
    }
    return DocumentFile(folder, hidden, path);
}

DocumentFile::DocumentFile(DocumentFile&& other) noexcept
    : folder_(std::move(other.folder_)), descriptor_(std::exchange(other.descriptor_, -1)),
      hiddenPath_(std::exchange(other.hiddenPath_, {})) {}

DocumentFile::~DocumentFile() {
    if (descriptor_ >= 0) {
        ::close(descriptor_);
    }
    if (!hiddenPath_.empty()) {
        ::unlink(hiddenPath_.c_str());
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

bool DocumentFile::hasRoomFor(double bytes) const {
    struct statvfs disk = {};
    if (::fstatvfs(descriptor_, &disk) != 0 || disk.f_blocks == 0 ||
        static_cast<double>(disk.f_bavail) * static_cast<double>(disk.f_frsize) >= bytes) {
        return true;
    }
    errno = ENOSPC;
    return false;
}

int DocumentFile::giveName(const std::string& path) const {
    if (hiddenPath_.empty()) {
        const std::string source = "/proc/self/fd/" + std::to_string(descriptor_);
        return ::linkat(AT_FDCWD, source.c_str(), AT_FDCWD, path.c_str(), AT_SYMLINK_FOLLOW) == 0 ? 0 : errno;
    }
    if (::renameat2(AT_FDCWD, hiddenPath_.c_str(), AT_FDCWD, path.c_str(), RENAME_NOREPLACE) == 0) {
        return 0;
    }
    if (errno != EINVAL && errno != ENOSYS) {
        return errno;
    }
    // A file system that cannot rename without replacing; a second name fails when it is taken, too.
    if (::link(hiddenPath_.c_str(), path.c_str()) == 0) {
        return 0;
    }
    return errno == EEXIST ? EEXIST : takeName(hiddenPath_, path);
}

bool DocumentFile::publish(NumberedName& name) {
    if (::fsync(descriptor_) != 0) {
        return false;
    }
    for (; name.number <= highestNumber; ++name.number) {
        errno = giveName(platform::appendingPathComponent(folder_, name.text()));
        if (errno == 0) {
            return true;
        }
        if (errno != EEXIST) {
            return false;
        }
    }
    return false;
}

} // namespace trigora::companions
