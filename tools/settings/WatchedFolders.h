#pragma once

#include "tools/settings/ProjectCatalogue.h"

#include <cstdint>
#include <string>
#include <vector>

namespace trigora {
class TrMonitorEventInformation;
}

namespace trigora::tools {

/// The longest time between two looks at a folder that makes sense, in seconds.
constexpr std::int64_t longestWatchInterval = 86400;

/// Something wrong with the settings of a watched folder.
struct WatchProblem {
    std::string key; ///< in the settings file, e.g. "folderPath"
    std::string problem;
    std::string consequence;
};

/// What keeps the agent from watching a folder that is set, or from seeing anything in it, by the agent's own
/// tests. None when nothing does, or when no folder is set.
std::vector<WatchProblem> problemsOfWatch(const TrMonitorEventInformation& watch,
                                          const ListedProjects& folderProjects);

} // namespace trigora::tools
