#include "platform/linux/files/TreeCopy.h"

#include "platform/linux/files/FolderListing.h"
#include "platform/linux/files/ItemAttributes.h"
#include "platform/linux/files/TemporaryItem.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdint>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace trigora::platform {

namespace {

/// Deeper trees than this are not user's and would exhaust the stack.
constexpr int deepestTree = 256;

/// What cannot be kept is no reason to lose the copy.
void keepAttributes(const FileDescriptor& from, const struct stat& status, const FileDescriptor& to) {
    copyCreatorCode(pathOfDescriptor(from), to);
    const std::array<timespec, 2> times = {status.st_atim, status.st_mtim};
    ::futimens(to.get(), times.data());
    ::fchmod(to.get(), status.st_mode & 07777);
}

bool copyThroughMemory(int from, int to) {
    std::vector<std::uint8_t> buffer(std::size_t{1} << 17);
    for (;;) {
        const ssize_t count = ::read(from, buffer.data(), buffer.size());
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            return count == 0;
        }
        for (ssize_t done = 0; done < count;) {
            const ssize_t written = ::write(to, buffer.data() + done, static_cast<std::size_t>(count - done));
            if (written <= 0 && errno != EINTR) {
                return false;
            }
            done += std::max<ssize_t>(written, 0);
        }
    }
}

/// In the kernel where both file systems can.
bool copyBytes(int from, int to) {
    constexpr std::size_t atOnce = std::size_t{1} << 30;
    ssize_t count = 0;
    do {
        count = ::copy_file_range(from, nullptr, to, nullptr, atOnce, 0);
    } while (count > 0 || (count < 0 && errno == EINTR));
    // Files of some file systems, such as /proc, have a length of 0 and bytes all the same.
    return copyThroughMemory(from, to);
}

bool copyLink(int fromFolder, const std::string& from, int toFolder, const std::string& to) {
    std::array<char, PATH_MAX> destination = {};
    const ssize_t length = ::readlinkat(fromFolder, from.c_str(), destination.data(), destination.size() - 1);
    return length > 0 && ::symlinkat(destination.data(), toFolder, to.c_str()) == 0;
}

/// Opens a file or a folder for reading, and reads its status; none for anything else.
FileDescriptor openSource(int folder, const std::string& name, struct stat& status) {
    const auto isCopied = [&] { return S_ISREG(status.st_mode) || S_ISDIR(status.st_mode); };
    if (::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0 || !isCopied()) {
        return FileDescriptor();
    }
    FileDescriptor source(::openat(folder, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    // It may have been replaced in between.
    return source && ::fstat(source.get(), &status) == 0 && isCopied() ? std::move(source) : FileDescriptor();
}

FileDescriptor makeLike(const struct stat& status, int folder, const std::string& name) {
    constexpr int flags = O_NOFOLLOW | O_CLOEXEC;
    if (S_ISREG(status.st_mode)) {
        return FileDescriptor(::openat(folder, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | flags, 0600));
    }
    const bool isMade = ::mkdirat(folder, name.c_str(), 0700) == 0;
    return FileDescriptor(isMade ? ::openat(folder, name.c_str(), O_RDONLY | O_DIRECTORY | flags) : -1);
}

bool fill(const FileDescriptor& from, const struct stat& status, const FileDescriptor& to, int depth);

bool copyEntry(int fromFolder, int toFolder, const std::string& name, int depth) {
    if (copyLink(fromFolder, name, toFolder, name)) {
        return true;
    }
    struct stat status = {};
    const FileDescriptor source = openSource(fromFolder, name, status);
    const FileDescriptor copy = source ? makeLike(status, toFolder, name) : FileDescriptor();
    return copy && fill(source, status, copy, depth);
}

bool copyContents(const FileDescriptor& from, const FileDescriptor& to, int depth) {
    const auto names = namesIn(pathOfDescriptor(from));
    return names && depth < deepestTree &&
           std::all_of(names->begin(), names->end(), [&](const std::string& name) {
               return copyEntry(from.get(), to.get(), name, depth + 1);
           });
}

bool fill(const FileDescriptor& from, const struct stat& status, const FileDescriptor& to, int depth) {
    const bool isFolder = S_ISDIR(status.st_mode);
    const bool whole = isFolder ? copyContents(from, to, depth) : copyBytes(from.get(), to.get());
    keepAttributes(from, status, to);
    return whole && (isFolder || ::fsync(to.get()) == 0);
}

} // namespace

bool copyWhole(const ItemPlace& from, const ItemPlace& to) {
    if (!from || !to || to.isTaken()) {
        return false;
    }
    if (copyLink(from.folder(), from.name(), to.folder(), to.name())) {
        return true;
    }
    struct stat status = {};
    const FileDescriptor source = openSource(from.folder(), from.name(), status);
    if (!source) {
        return false;
    }
    TemporaryItem copy(to.folder(),
                       S_ISDIR(status.st_mode) ? TemporaryItem::Kind::folder : TemporaryItem::Kind::file);
    return copy && fill(source, status, copy.descriptor(), 0) && copy.take(to.name()) == 0;
}

} // namespace trigora::platform
