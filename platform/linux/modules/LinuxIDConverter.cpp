#include "platform/linux/modules/LinuxIDConverter.h"

#include "platform/Text.h"
#include "platform/linux/files/DiskPath.h"

#include <algorithm>
#include <dlfcn.h>
#include <fcntl.h>
#include <vector>

namespace trigora::platform {

namespace {

constexpr const char* libraryName = "libPeloxIDConverter.so.1";
constexpr const char* frameworks = "/Library/Frameworks";
/// The buffer is larger than the library is told, in case it writes a little too much.
constexpr std::size_t spareBytes = 4096;
constexpr std::size_t largestBuffer = 65536;

void* opened(const InstallationRoot& root) {
    const std::string path = diskPath(root, appendingPathComponent(frameworks, libraryName));
    void* library = nullptr;
    if (openRegularFile(path, O_RDONLY)) {
        library = ::dlopen(path.c_str(), RTLD_NOW | RTLD_LOCAL);
    }
    return library == nullptr ? ::dlopen(libraryName, RTLD_NOW | RTLD_LOCAL) : library;
}

template <typename Function> Function* functionIn(void* library, const char* name) {
    return reinterpret_cast<Function*>(::dlsym(library, name));
}

} // namespace

bool LinuxIDConverter::hasModelIDWithTwainID() {
    load();
    return modelIDFunction_ != nullptr;
}

std::int32_t LinuxIDConverter::PS2GetModelIDWithTwainID(const std::string& twainID, std::size_t bufferSize) {
    load();
    if (modelIDFunction_ == nullptr) {
        return -1;
    }
    const std::size_t size = std::min(bufferSize, largestBuffer);
    std::vector<char> buffer(size + spareBytes);
    return modelIDFunction_(twainID.c_str(), buffer.data(), static_cast<std::uint32_t>(size));
}

std::optional<std::string> LinuxIDConverter::PS2GetTwainIDWithProductID(const std::string& productID) {
    load();
    constexpr std::size_t size = 256;
    std::vector<char> buffer(size + spareBytes);
    if (twainIDFunction_ == nullptr || twainIDFunction_(productID.c_str(), buffer.data()) != 0) {
        return std::nullopt;
    }
    buffer[size - 1] = '\0';
    std::string twainID = buffer.data();
    return isValidUtf8(twainID) ? std::optional(std::move(twainID)) : std::nullopt;
}

void LinuxIDConverter::load() {
    std::call_once(once_, [this] {
        if (void* library = opened(root_)) {
            modelIDFunction_ = functionIn<ModelIDFunction>(library, "PS2GetModelIDWithTwainID");
            twainIDFunction_ = functionIn<TwainIDFunction>(library, "PS2GetTwainIDWithProductID");
        }
    });
}

} // namespace trigora::platform
