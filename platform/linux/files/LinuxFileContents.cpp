#include "platform/linux/files/DiskPath.h"
#include "platform/linux/files/LinuxFiles.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <sys/xattr.h>

namespace trigora::platform {

namespace {

bool writeAll(int descriptor, const Data& data) {
    std::size_t written = 0;
    while (written < data.size()) {
        const ssize_t count = ::write(descriptor, data.data() + written, data.size() - written);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return false;
        }
        written += static_cast<std::size_t>(count);
    }
    return true;
}

/// The file that a link leads to, also when that one does not exist yet; empty for links in a circle.
std::string withLinksFollowed(std::string path) {
    constexpr int mostLinks = 40;
    for (int i = 0; i < mostLinks; ++i) {
        std::error_code error;
        const std::filesystem::path destination = std::filesystem::read_symlink(path, error);
        if (error) {
            return path;
        }
        path = (std::filesystem::path(path).parent_path() / destination).string();
    }
    return {};
}

/// A new file that nobody else has a name for; removed again unless it is put in another's place.
class TemporaryFile {
public:
    explicit TemporaryFile(std::string folder) : folder_(std::move(folder)) {
        constexpr int mostTries = 100;
        for (int i = 0; i < mostTries && !file_; ++i) {
            path_ = temporaryPathIn(folder_); // one that ended may have left a file of that name behind
            file_ = FileDescriptor(::open(path_.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
            if (!file_ && errno != EEXIST) {
                break;
            }
        }
    }
    TemporaryFile(const TemporaryFile&) = delete;
    TemporaryFile& operator=(const TemporaryFile&) = delete;
    ~TemporaryFile() {
        if (file_ && !placed_) {
            ::unlink(path_.c_str());
        }
    }

    int descriptor() const { return file_.get(); }

    /// On the disk for good before it takes the other's name, so that no crash shows half of it.
    bool takePlaceOf(const std::string& path) {
        if (::fsync(file_.get()) != 0 || ::rename(path_.c_str(), path.c_str()) != 0) {
            return false;
        }
        placed_ = true;
        const FileDescriptor folder(::open(folder_.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
        ::fsync(folder.get());
        return true;
    }

private:
    std::string folder_;
    std::string path_;
    FileDescriptor file_;
    bool placed_ = false;
};

/// Owner, permissions and creator code of the file that is about to be replaced, as far as this user may
/// give them.
void keepAttributes(const std::string& from, const struct stat& status, int to) {
    copyCreatorCode(from, "/proc/self/fd/" + std::to_string(to));
    if (::fchown(to, status.st_uid, status.st_gid) != 0) {
        [[maybe_unused]] const int group = ::fchown(to, static_cast<uid_t>(-1), status.st_gid);
    }
    ::fchmod(to, status.st_mode & 07777);
}

} // namespace

std::optional<Data> LinuxFileContents::read(const std::string& path) {
    const FileDescriptor file = openRegularFile(diskPath(root_, path), O_RDONLY);
    struct stat status = {};
    if (!file || ::fstat(file.get(), &status) != 0 || status.st_size > static_cast<off_t>(readLimit)) {
        return std::nullopt;
    }
    // One byte more than expected shows the end, or that the file has grown.
    Data data(static_cast<std::size_t>(status.st_size) + 1);
    std::size_t size = 0;
    for (;;) {
        const ssize_t count = ::read(file.get(), data.data() + size, data.size() - size);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count < 0 || size + static_cast<std::size_t>(count) > readLimit) {
            return std::nullopt;
        }
        if (count == 0) {
            data.resize(size);
            return data;
        }
        size += static_cast<std::size_t>(count);
        if (size == data.size()) {
            data.resize(size * 2 + 4096);
        }
    }
}

bool LinuxFileContents::write(const std::string& path, const Data& data, bool atomically) {
    const std::string file = withLinksFollowed(diskPath(root_, path));
    struct stat status = {};
    const bool replaces = ::stat(file.c_str(), &status) == 0;
    if (file.empty() || (replaces && !S_ISREG(status.st_mode))) {
        return false;
    }
    const bool keeps = replaces && !atomically;
    if (keeps && ::access(file.c_str(), W_OK) != 0) {
        return false;
    }
    const std::string folder = std::filesystem::path(file).parent_path().string();
    TemporaryFile replacement(folder.empty() ? "." : folder);
    if (replacement.descriptor() < 0 || !writeAll(replacement.descriptor(), data)) {
        return false;
    }
    if (keeps) {
        keepAttributes(file, status, replacement.descriptor());
    }
    return replacement.takePlaceOf(file);
}

bool LinuxFileContents::append(const std::string& path, std::string_view text,
                               const std::optional<FileAttributes>& ofNewFile) {
    // In a folder that everybody may write to, a link could lead to any file of this user's.
    constexpr int flags = O_WRONLY | O_APPEND | O_NOFOLLOW;
    const std::string item = diskPath(root_, path);
    FileDescriptor file;
    if (ofNewFile) {
        file = FileDescriptor(::open(item.c_str(), flags | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    }
    if (file) {
        applyAttributes("/proc/self/fd/" + std::to_string(file.get()), *ofNewFile);
    } else {
        file = openRegularFile(item, flags);
    }
    if (!file) {
        return false;
    }
    ssize_t count = -1;
    do {
        count = ::write(file.get(), text.data(), text.size());
    } while (count < 0 && errno == EINTR);
    return count == static_cast<ssize_t>(text.size());
}

} // namespace trigora::platform
