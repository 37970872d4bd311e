#include "platform/linux/files/ItemPlace.h"

#include "platform/Text.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <optional>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace trigora::platform {

namespace {

constexpr int toPassThrough = O_PATH | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC;

/// This user and root. Inside a user namespace root may show as another; "/" is its in any case.
bool isTrusted(uid_t owner) {
    struct stat root = {};
    return owner == 0 || owner == ::geteuid() || (::stat("/", &root) == 0 && owner == root.st_uid);
}

bool mayFollow(const struct stat& link, int folder) {
    if (isTrusted(link.st_uid)) {
        return true;
    }
    struct stat around = {};
    constexpr mode_t writableByOthers = S_IWGRP | S_IWOTH;
    return ::fstat(folder, &around) == 0 && isTrusted(around.st_uid) &&
           (around.st_mode & writableByOthers) == 0;
}

enum class Entry { link, strangersLink, other };

/// What stands under the name; of a link also where it leads.
Entry entryAt(int folder, const std::string& name, std::string& destination) {
    const FileDescriptor entry(::openat(folder, name.c_str(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    struct stat status = {};
    if (!entry || ::fstat(entry.get(), &status) != 0 || !S_ISLNK(status.st_mode)) {
        return Entry::other;
    }
    std::array<char, PATH_MAX> text = {};
    const ssize_t length = ::readlinkat(entry.get(), "", text.data(), text.size());
    if (length <= 0 || !mayFollow(status, folder)) {
        return Entry::strangersLink;
    }
    destination.assign(text.data(), static_cast<std::size_t>(length));
    return Entry::link;
}

/// Goes down a path name by name.
class Walk {
public:
    explicit Walk(const std::string& path) { goOnWith(path); }

    /// The next name but the last; false when the way ends here, at its end or before.
    bool next() {
        FileDescriptor folder(::openat(folder_.get(), names_.back().c_str(), toPassThrough));
        if (!folder) {
            return followLink();
        }
        folder_ = std::move(folder);
        names_.pop_back();
        return true;
    }

    /// True when the next name was that of a link, whose destination has taken its place.
    bool followLink() {
        constexpr int mostLinks = 40;
        std::string destination;
        const Entry entry =
            names_.empty() ? Entry::other : entryAt(folder_.get(), names_.back(), destination);
        if (entry == Entry::other) {
            return false;
        }
        if (entry == Entry::strangersLink || ++links_ > mostLinks) {
            folder_ = FileDescriptor(); // it leads nowhere
            return false;
        }
        names_.pop_back();
        goOnWith(destination);
        return true;
    }

    bool isAtLastName() const { return names_.size() <= 1; }
    /// The last name; "." when there is none, or it is a way rather than a name.
    std::string lastName() const { return names_.empty() ? "." : names_.front(); }
    FileDescriptor takeFolder() { return std::move(folder_); }

private:
    void goOnWith(const std::string& path) {
        if (!folder_ || path.front() == '/') {
            folder_ = FileDescriptor(::open(path.front() == '/' ? "/" : ".", toPassThrough));
        }
        std::vector<std::string> names = componentsSeparatedByString(path, "/");
        std::erase_if(names, [](const std::string& name) { return name.empty() || name == "."; });
        if (!names.empty() && names.back() == ".." && names_.empty()) {
            names.emplace_back("."); // what is reached by ".." has no name that is known
        }
        names_.insert(names_.end(), names.rbegin(), names.rend());
    }

    FileDescriptor folder_;
    std::vector<std::string> names_; ///< those still to go, the next one last
    int links_ = 0;
};

} // namespace

ItemPlace ItemPlace::of(const std::string& path, LastLink lastLink) {
    if (path.empty()) {
        return {FileDescriptor(), "."};
    }
    Walk walk(path);
    bool goesOn = true;
    while (goesOn) {
        if (walk.isAtLastName()) {
            goesOn = lastLink == LastLink::isFollowed && walk.followLink();
        } else if (!walk.next()) {
            return {FileDescriptor(), "."};
        }
    }
    std::string name = walk.lastName();
    return {walk.takeFolder(), std::move(name)};
}

bool ItemPlace::readStatus(struct stat& status) const {
    return ::fstatat(folder(), name_.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
}

bool ItemPlace::isTaken() const {
    struct stat status = {};
    return readStatus(status);
}

FileDescriptor ItemPlace::open(int flags) const {
    return FileDescriptor(::openat(folder(), name_.c_str(), flags | O_NOFOLLOW | O_CLOEXEC));
}

std::string ItemPlace::path() const { return pathOfDescriptor(folder_) + "/" + name_; }

std::string pathOfDescriptor(const FileDescriptor& file) {
    return "/proc/self/fd/" + std::to_string(file.get());
}

} // namespace trigora::platform
