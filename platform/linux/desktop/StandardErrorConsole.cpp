#include "platform/linux/desktop/StandardErrorConsole.h"

#include "platform/linux/files/FileDescriptor.h"

#include <cerrno>
#include <fcntl.h>
#include <string>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

namespace trigora::platform {

namespace {

/// Standard error opened once more, so that only this program's writing does not wait; others may share the
/// first opening. None for what cannot be opened so.
FileDescriptor withoutWaiting() {
    return FileDescriptor(::open("/proc/self/fd/2", O_WRONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY));
}

} // namespace

void StandardErrorConsole::write(std::string_view line) {
    // The end of a line that was cut off in the middle comes first.
    const std::string text = (isCut_.exchange(false) ? "\n" : "") + std::string(line) + "\n";
    // What the console does not take at once is lost; there is nowhere else to say so.
    struct stat console = {};
    if (::fstat(STDERR_FILENO, &console) != 0) {
        return;
    }
    ssize_t written = -1;
    const FileDescriptor own =
        S_ISFIFO(console.st_mode) || S_ISCHR(console.st_mode) ? withoutWaiting() : FileDescriptor(-1);
    do {
        written = S_ISSOCK(console.st_mode)
                      ? ::send(STDERR_FILENO, text.data(), text.size(), MSG_DONTWAIT | MSG_NOSIGNAL)
                      : ::write(own ? own.get() : STDERR_FILENO, text.data(), text.size());
    } while (written < 0 && errno == EINTR);
    if (written > 0 && static_cast<std::size_t>(written) < text.size()) {
        isCut_ = true;
    }
}

} // namespace trigora::platform
