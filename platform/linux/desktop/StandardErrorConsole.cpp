#include "platform/linux/desktop/StandardErrorConsole.h"

#include <cerrno>
#include <string>
#include <unistd.h>

namespace trigora::platform {

void StandardErrorConsole::write(std::string_view line) {
    const std::string text = std::string(line) + "\n";
    // What the console does not take is lost; there is nowhere else to say so.
    ssize_t written = -1;
    do {
        written = ::write(STDERR_FILENO, text.data(), text.size());
    } while (written < 0 && errno == EINTR);
}

} // namespace trigora::platform
