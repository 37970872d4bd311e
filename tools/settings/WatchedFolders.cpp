#include "tools/settings/WatchedFolders.h"

#include "catalogue/actions/TrActionInformation.h"
#include "catalogue/events/TrMonitorEventInformation.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"
#include "platform/Value.h"
#include "projects/information/TrProjectInformation.h"
#include "tools/words/Wording.h"

#include <optional>

namespace trigora::tools {

namespace {

constexpr const char* notWatched = "the folder is not watched";
constexpr const char* nothingNew = "it is looked at, but nothing in it is ever new";

std::optional<WatchProblem> problemOfFolder(const std::string& folder) {
    platform::FileSystem& files = platform::current().fileSystem;
    const std::string shown = printable(folder);
    if (folder.empty()) {
        return WatchProblem{"folderPath", "the path of the folder is empty", notWatched};
    }
    if (!files.exists(folder)) {
        return WatchProblem{"folderPath", "there is no such folder: " + shown, notWatched};
    }
    if (!files.isDirectory(folder)) {
        return WatchProblem{"folderPath", shown + " is no folder", nothingNew};
    }
    if (!files.contentsOfDirectory(folder)) {
        return WatchProblem{"folderPath", shown + " cannot be read", nothingNew};
    }
    return std::nullopt;
}

std::optional<WatchProblem> problemOfInterval(const std::optional<Value>& interval) {
    const std::int64_t seconds = interval ? platform::integerOf(*interval).value_or(0) : 0;
    const std::string shown = interval ? " " + printable(interval->description()) : std::string();
    if (seconds < 1) {
        return WatchProblem{"intervalTime", "the interval" + shown + " is no number of seconds of at least 1",
                            notWatched};
    }
    return seconds > longestWatchInterval
               ? std::optional(WatchProblem{"intervalTime", "the interval" + shown + " is longer than a day",
                                            "new files are opened that late"})
               : std::nullopt;
}

std::optional<WatchProblem> problemOfProject(const std::optional<std::string>& projectID,
                                             const ListedProjects& folderProjects) {
    constexpr const char* key = "executiveProjectID";
    if (!projectID || projectID->empty()) {
        return WatchProblem{key, "no project is bound to the folder", notWatched};
    }
    const ListedProject* listed = findProject(folderProjects, *projectID);
    if (listed == nullptr) {
        return WatchProblem{key, "there is no folder project " + printable(*projectID), notWatched};
    }
    const auto& action = listed->project->actionInformation();
    const auto application = action ? action->applicationPath() : std::nullopt;
    if (!application || !platform::current().fileSystem.exists(*application)) {
        return WatchProblem{
            key, "project " + listed->idAndName() + ": " + listed->problem.value_or("it has no application"),
            notWatched};
    }
    return std::nullopt;
}

} // namespace

std::vector<WatchProblem> problemsOfWatch(const TrMonitorEventInformation& watch,
                                          const ListedProjects& folderProjects) {
    if (!watch.monitorFolderPath()) {
        return {};
    }
    std::vector<WatchProblem> problems;
    for (const auto& problem :
         {problemOfFolder(*watch.monitorFolderPath()), problemOfInterval(watch.timeInterval()),
          problemOfProject(watch.connectedProjectID(nullptr), folderProjects)}) {
        if (problem) {
            problems.push_back(*problem);
        }
    }
    return problems;
}

} // namespace trigora::tools
