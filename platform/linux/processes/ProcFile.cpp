#include "platform/linux/processes/ProcFile.h"

#include "platform/linux/files/FileDescriptor.h"

#include <array>
#include <cerrno>
#include <fcntl.h>
#include <unistd.h>

namespace trigora::platform {

std::string procFile(std::int32_t processID, const std::string& name) {
    const std::string path = "/proc/" + std::to_string(processID) + "/" + name;
    const FileDescriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    std::string contents;
    std::array<char, 4096> buffer; // most are read at once
    for (;;) {
        const ssize_t length = file ? ::read(file.get(), buffer.data(), buffer.size()) : 0;
        if (length > 0) {
            contents.append(buffer.data(), static_cast<std::size_t>(length));
        } else if (length == 0 || errno != EINTR) {
            return contents;
        }
    }
}

} // namespace trigora::platform
