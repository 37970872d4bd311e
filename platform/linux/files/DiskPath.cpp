#include "platform/linux/files/DiskPath.h"

#include "platform/Text.h"

#include <cerrno>
#include <fcntl.h>
#include <sys/stat.h>

namespace trigora::platform {

namespace {

bool isRegular(const struct stat& status) { return S_ISREG(status.st_mode); }

int openRetrying(int folder, const std::string& name, int flags) {
    int descriptor = -1;
    do {
        descriptor = ::openat(folder, name.c_str(), flags);
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

FileDescriptor openRegularFile(const std::string& pathOnDisk, int flags) {
    return openRegularFileIn(AT_FDCWD, pathOnDisk, flags);
}

FileDescriptor openRegularFileIn(int folder, const std::string& name, int flags) {
    struct stat status = {};
    if (::fstatat(folder, name.c_str(), &status, 0) != 0 || !isRegular(status)) {
        return FileDescriptor();
    }
    FileDescriptor file(openRetrying(folder, name, flags | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    // It may have been replaced in between.
    if (file && (::fstat(file.get(), &status) != 0 || !isRegular(status))) {
        return FileDescriptor();
    }
    return file;
}

} // namespace trigora::platform
