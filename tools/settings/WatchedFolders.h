#pragma once

#include "tools/settings/ProjectCatalogue.h"
#include "tools/settings/SettingsChange.h"

#include <cstdint>
#include <string>
#include <vector>

namespace trigora {
class TrMonitorEventInformation;
}

namespace trigora::tools {

class SettingsSession;

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

/// What a watched folder is set to.
struct WatchSettings {
    std::string folder;
    std::int64_t seconds = 0; ///< between two looks, from 1 to the longest
    std::string projectID;    ///< of a folder project
};

// Watched folders are numbered from "1". Changes are written, read back and posted; a `SettingsError` tells
// that nothing was changed, or that the file does not hold the change.

SettingsChange watchFolder(SettingsSession& session, const std::string& number,
                           const WatchSettings& settings);
SettingsChange unwatchFolder(SettingsSession& session, const std::string& number);

} // namespace trigora::tools
