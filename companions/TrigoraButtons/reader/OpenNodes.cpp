#include "companions/TrigoraButtons/reader/OpenNodes.h"

#include <filesystem>
#include <utility>

namespace trigora::buttons {

OpenNodes::OpenNodes(std::string usbFolder) : usbFolder_(std::move(usbFolder)), before_(now()) {}

std::string OpenNodes::opened() const {
    std::string found;
    for (const std::string& node : now()) {
        // A back-end may have a second thing open, such as a terminal; USB counts.
        if (!before_.contains(node) && (found.empty() || node.starts_with(usbFolder_ + '/'))) {
            found = node;
        }
    }
    return found;
}

std::set<std::string> OpenNodes::now() const {
    std::set<std::string> nodes;
    std::error_code error;
    for (const auto& entry : std::filesystem::directory_iterator("/proc/self/fd", error)) {
        const std::string target = std::filesystem::read_symlink(entry.path(), error).string();
        if (target.starts_with(usbFolder_ + '/') || target.starts_with("/dev/")) {
            nodes.insert(target);
        }
    }
    return nodes;
}

} // namespace trigora::buttons
