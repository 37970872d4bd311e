#include "platform/linux/files/DiskPath.h"
#include "platform/linux/files/ItemAttributes.h"
#include "platform/linux/files/ItemPlace.h"
#include "platform/linux/files/LinuxFiles.h"
#include "platform/linux/files/TemporaryItem.h"

#include <cerrno>
#include <fcntl.h>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

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

/// Owner, permissions and creator code of the file that is about to be replaced, as far as this user may
/// give them.
void keepAttributes(const ItemPlace& from, const struct stat& status, const FileDescriptor& to) {
    copyCreatorCode(from.path(), to);
    if (::fchown(to.get(), status.st_uid, status.st_gid) != 0) {
        [[maybe_unused]] const int group = ::fchown(to.get(), static_cast<uid_t>(-1), status.st_gid);
    }
    ::fchmod(to.get(), status.st_mode & 07777);
}

/// The folder that holds the file, unless it is a link.
FileDescriptor folderItself(const std::string& file) {
    const std::string folder = std::filesystem::path(file).parent_path().string();
    return ItemPlace::of(folder.empty() ? "." : folder, LastLink::isTheItem).open(O_PATH | O_DIRECTORY);
}

} // namespace

std::optional<Data> LinuxFileContents::read(const std::string& path, std::size_t mostBytes) {
    const FileDescriptor file = openRegularFile(diskPath(root_, path), O_RDONLY);
    struct stat status = {};
    if (!file || ::fstat(file.get(), &status) != 0 || status.st_size > static_cast<off_t>(mostBytes)) {
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
        if (count < 0 || size + static_cast<std::size_t>(count) > mostBytes) {
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
    const ItemPlace file = ItemPlace::of(diskPath(root_, path), LastLink::isFollowed);
    struct stat status = {};
    const bool replaces = file && file.readStatus(status);
    if (!file || (replaces && !S_ISREG(status.st_mode))) {
        return false;
    }
    const bool keeps = replaces && !atomically;
    if (keeps && ::faccessat(file.folder(), file.name().c_str(), W_OK, 0) != 0) {
        return false;
    }
    TemporaryItem replacement(file.folder(), TemporaryItem::Kind::file);
    if (!replacement || !writeAll(replacement.descriptor().get(), data)) {
        return false;
    }
    if (keeps) {
        keepAttributes(file, status, replacement.descriptor());
    }
    // On the disk for good before it takes the other's name, so that no crash shows half of it.
    if (::fsync(replacement.descriptor().get()) != 0 || replacement.replace(file.name()) != 0) {
        return false;
    }
    const FileDescriptor folder(::openat(file.folder(), ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    ::fsync(folder.get());
    return true;
}

bool LinuxFileContents::append(const std::string& path, std::string_view text,
                               const std::optional<FileAttributes>& ofNewFile) {
    const std::string item = diskPath(root_, path);
    const FileDescriptor folder = folderItself(item);
    const std::string name = std::filesystem::path(item).filename().string();
    FileDescriptor file;
    if (ofNewFile) {
        constexpr int flags = O_WRONLY | O_APPEND | O_NOFOLLOW | O_CREAT | O_EXCL | O_CLOEXEC;
        file = FileDescriptor(::openat(folder.get(), name.c_str(), flags, 0666));
    }
    if (file) {
        applyAttributes(file, *ofNewFile);
    } else {
        file = openRegularFileIn(folder.get(), name, O_WRONLY | O_APPEND | O_NOFOLLOW);
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
