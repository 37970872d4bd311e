#include "platform/linux/files/DiskPath.h"

#include "platform/Text.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>
#include <sys/xattr.h>
#include <unistd.h>

namespace trigora::platform {

namespace {

bool isRegular(const struct stat& status) { return S_ISREG(status.st_mode); }

int openRetrying(const char* path, int flags) {
    int descriptor = -1;
    do {
        descriptor = ::open(path, flags);
    } while (descriptor < 0 && errno == EINTR);
    return descriptor;
}

} // namespace

std::string diskPath(const InstallationRoot& root, std::string_view path) {
    if (path.find('\0') != std::string_view::npos) {
        return {};
    }
    return root.onDisk(withoutTrailingSlashes(path));
}

std::string temporaryPathIn(const std::string& folder) {
    static std::atomic<unsigned> count = 0;
    return folder + "/.trigora-" + std::to_string(::getpid()) + "-" + std::to_string(++count) + ".new";
}

FileDescriptor openRegularFile(const std::string& pathOnDisk, int flags) {
    struct stat status = {};
    if (::stat(pathOnDisk.c_str(), &status) != 0 || !isRegular(status)) {
        return FileDescriptor();
    }
    FileDescriptor file(openRetrying(pathOnDisk.c_str(), flags | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    // It may have been replaced in between.
    if (file && (::fstat(file.get(), &status) != 0 || !isRegular(status))) {
        return FileDescriptor();
    }
    return file;
}

void copyCreatorCode(const std::string& from, const std::string& to) {
    std::array<char, 4> creator = {};
    const ssize_t length = ::getxattr(from.c_str(), creatorAttribute, creator.data(), creator.size());
    if (length == static_cast<ssize_t>(creator.size())) {
        ::setxattr(to.c_str(), creatorAttribute, creator.data(), creator.size(), 0);
    }
}

} // namespace trigora::platform
