#include "platform/linux/files/TemporaryItem.h"

#include "platform/linux/files/FolderListing.h"

#include <atomic>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <filesystem>
#include <string_view>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

namespace trigora::platform {

namespace {

constexpr std::string_view nameBegin = ".trigora-";
constexpr std::string_view nameEnd = ".new";

/// No other item of this or any running process of this machine has it.
std::string freshName() {
    static std::atomic<unsigned> count = 0;
    return std::string(nameBegin) + std::to_string(::getpid()) + "-" + std::to_string(++count) +
           std::string(nameEnd);
}

bool isTemporaryName(std::string_view name) {
    return name.size() > nameBegin.size() + nameEnd.size() && name.substr(0, nameBegin.size()) == nameBegin &&
           name.substr(name.size() - nameEnd.size()) == nameEnd;
}

/// Whether both are one item.
bool isSame(const struct stat& one, const struct stat& other) {
    return one.st_dev == other.st_dev && one.st_ino == other.st_ino;
}

void removeItem(int folder, const std::string& name) {
    std::error_code error;
    std::filesystem::remove_all("/proc/self/fd/" + std::to_string(folder) + "/" + name, error);
}

/// Removes the item if its maker is gone.
void removeLeftover(int folder, const char* name) {
    struct stat status = {};
    if (::fstatat(folder, name, &status, AT_SYMLINK_NOFOLLOW) != 0 ||
        !(S_ISREG(status.st_mode) || S_ISDIR(status.st_mode))) {
        return;
    }
    const FileDescriptor item(::openat(folder, name, O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (item && ::flock(item.get(), LOCK_EX | LOCK_NB) == 0) {
        removeItem(folder, name);
    }
}

void removeLeftovers(int folder) {
    visitNamesIn("/proc/self/fd/" + std::to_string(folder), [&](const char* name) {
        if (isTemporaryName(name)) {
            removeLeftover(folder, name);
        }
    });
}

} // namespace

TemporaryItem::TemporaryItem(int folder, Kind kind) : folder_(folder) {
    removeLeftovers(folder);
    constexpr int mostTries = 100;
    for (int i = 0; i < mostTries && !item_; ++i) {
        name_ = freshName(); // one of another machine's may have it
        if (!make(kind) && errno != EEXIST) {
            break;
        }
        if (item_ && !lock()) {
            item_ = FileDescriptor(); // somebody took it for a leftover, and removes it
        }
    }
}

TemporaryItem::~TemporaryItem() {
    if (item_ && !placed_) {
        removeItem(folder_, name_);
    }
}

int TemporaryItem::replace(const std::string& name) {
    placed_ = ::renameat(folder_, name_.c_str(), folder_, name.c_str()) == 0;
    return placed_ ? 0 : errno;
}

int TemporaryItem::take(const std::string& name) {
    const int failure = renameOnto(folder_, name_, folder_, name);
    placed_ = failure == 0;
    return failure;
}

bool TemporaryItem::make(Kind kind) {
    constexpr int flags = O_NOFOLLOW | O_CLOEXEC;
    if (kind == Kind::file) {
        item_ = FileDescriptor(::openat(folder_, name_.c_str(), O_WRONLY | O_CREAT | O_EXCL | flags, 0666));
    } else if (::mkdirat(folder_, name_.c_str(), 0700) == 0) {
        item_ = FileDescriptor(::openat(folder_, name_.c_str(), O_RDONLY | O_DIRECTORY | flags));
    }
    return static_cast<bool>(item_);
}

/// Where a file system has no locks, nobody can hold one on a leftover either.
bool TemporaryItem::lock() const {
    if (::flock(item_.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        return false;
    }
    struct stat item = {};
    struct stat named = {};
    return ::fstat(item_.get(), &item) == 0 &&
           ::fstatat(folder_, name_.c_str(), &named, AT_SYMLINK_NOFOLLOW) == 0 && isSame(item, named);
}

int renameOnto(int fromFolder, const std::string& from, int toFolder, const std::string& to) {
    if (::renameat2(fromFolder, from.c_str(), toFolder, to.c_str(), RENAME_NOREPLACE) == 0) {
        return 0;
    }
    // Not every file system knows the flag.
    if (errno != EINVAL && errno != ENOSYS) {
        return errno;
    }
    struct stat status = {};
    if (::fstatat(toFolder, to.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0) {
        return EEXIST;
    }
    return ::renameat(fromFolder, from.c_str(), toFolder, to.c_str()) == 0 ? 0 : errno;
}

} // namespace trigora::platform
