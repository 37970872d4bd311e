#include "companions/TrigoraButtons/devices/NodeUsers.h"

#include "platform/Text.h"

#include <unistd.h>

#include <filesystem>

namespace trigora::buttons {

namespace {

namespace fs = std::filesystem;

bool hasOpen(const fs::path& process, const std::string& node) {
    std::error_code error;
    for (fs::directory_iterator entry(process / "fd", error), end; !error && entry != end;
         entry.increment(error)) {
        std::error_code gone;
        if (fs::read_symlink(entry->path(), gone) == node) {
            return true;
        }
    }
    return false;
}

} // namespace

bool isNodeUsed(const std::string& node, const std::set<std::int32_t>& exceptBy) {
    std::error_code error;
    for (fs::directory_iterator entry("/proc", error), end; !error && entry != end; entry.increment(error)) {
        const std::int32_t processID = platform::integerValue(entry->path().filename().string());
        if (processID > 0 && processID != ::getpid() && !exceptBy.contains(processID) &&
            hasOpen(entry->path(), node)) {
            return true;
        }
    }
    return false;
}

} // namespace trigora::buttons
