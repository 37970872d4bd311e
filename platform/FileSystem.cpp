#include "platform/FileSystem.h"

#include "platform/Platform.h"
#include "platform/Text.h"

namespace trigora::platform {

std::string displayNameAtPath(const std::string& path) {
    const std::string name = lastPathComponent(path);
    return pathExtension(name) == "app" ? deletingPathExtension(name) : name;
}

std::string expandingTildeInPath(std::string_view path) {
    if (path.empty() || path.front() != '~' || (path.size() > 1 && path[1] != '/')) {
        return std::string(path);
    }
    return appendingPathComponent(current().folders.home(), path.substr(1));
}

} // namespace trigora::platform
