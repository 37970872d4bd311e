#include "platform/FileSystem.h"

#include "platform/Text.h"

namespace trigora::platform {

std::string displayNameAtPath(const std::string& path) {
    const std::string name = lastPathComponent(path);
    return pathExtension(name) == "app" ? deletingPathExtension(name) : name;
}

} // namespace trigora::platform
