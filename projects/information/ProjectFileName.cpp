#include "projects/information/ProjectFileName.h"

#include "platform/Text.h"

namespace trigora {

std::string projectFileName(const std::string& projectName) {
    const std::string name = platform::replacingOccurrences(projectName, "/", ":");
    const bool isNoFileName = name.empty() || name == "." || name == "..";
    return isNoFileName ? "_" + name : name;
}

} // namespace trigora
