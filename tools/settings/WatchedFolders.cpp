#include "tools/settings/WatchedFolders.h"

#include "catalogue/actions/TrActionInformation.h"
#include "catalogue/events/TrEventManager.h"
#include "catalogue/events/TrMonitorEventInformation.h"
#include "files/InstalledPaths.h"
#include "files/NotificationNames.h"
#include "platform/DistributedNotifications.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"
#include "platform/Text.h"
#include "platform/Value.h"
#include "projects/information/TrProjectInformation.h"
#include "tools/settings/DamagedFiles.h"
#include "tools/settings/ScanSettingValues.h"
#include "tools/settings/SettingsError.h"
#include "tools/settings/SettingsSession.h"
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

using Watch = std::shared_ptr<TrMonitorEventInformation>;

void requireReadableSettings() {
    requireUndamaged(damagedWatchedFolderFiles());
    // Saving writes the bindings without a model along.
    requireUndamaged(damagedBindingFiles(std::nullopt));
}

Watch requireWatch(const std::string& number) {
    const auto& watches = TrEventManager::sharedEventManager()->monitorEventList();
    if (watches.empty()) {
        throw SettingsError(SettingsError::Code::notFound,
                            "no event for watched folders is installed in " + paths::eventFolder());
    }
    const bool isDigit = number.size() == 1 && number[0] >= '1' && number[0] <= '9';
    const std::size_t index = isDigit ? static_cast<std::size_t>(number[0] - '1') : watches.size();
    if (index >= watches.size()) {
        throw SettingsError(SettingsError::Code::invalid, "there is no watched folder " + printable(number) +
                                                              ": they are numbered from 1 to " +
                                                              std::to_string(watches.size()));
    }
    return watches[index];
}

const ListedProject& requireFolderProject(const TrMonitorEventInformation& watch,
                                          const ListedProjects& projects, const std::string& projectID) {
    const ListedProject& project = requireProject(projects, projectID);
    if (!project.isAvailable) {
        throw SettingsError(SettingsError::Code::notFound,
                            "project " + project.idAndName() +
                                " is not available: " + project.problem.value_or("the agent leaves it out"));
    }
    if (!watch.isSupportProjectID(project.id()) ||
        !watch.isSupportProjectType(project.project->type().value_or(""))) {
        throw SettingsError(SettingsError::Code::notFound, "watched folders cannot run project " +
                                                               project.idAndName() + ", which is of type " +
                                                               textOrDash(project.project->type()));
    }
    return project;
}

/// Writes the settings of the watched folders, reads them again, and throws a `SettingsError` unless they
/// hold what was set.
void save(SettingsSession& session, const std::string& number, const TrMonitorEventInformation& watch) {
    session.allowChanges();
    const auto manager = TrEventManager::sharedEventManager();
    const auto& folder = watch.monitorFolderPath();
    const auto& interval = watch.timeInterval();
    const auto project = watch.connectedProjectID(nullptr);
    manager->saveEventInformation();
    manager->reloadEventInformation();
    const Watch written = requireWatch(number);
    if (!platform::current().fileSystem.exists(paths::watchedFolderSettingsFile()) ||
        written->monitorFolderPath() != folder || written->timeInterval() != interval ||
        written->connectedProjectID(nullptr) != project) {
        throw SettingsError(SettingsError::Code::failed,
                            "the settings could not be written to " + paths::watchedFolderSettingsFile() +
                                "; is the disk full, or may you not write there?");
    }
    platform::current().notifications.post(notifications::monitorFolderSettingsDidChange, std::nullopt,
                                           false);
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

SettingsChange watchFolder(SettingsSession& session, const std::string& number,
                           const WatchSettings& settings) {
    const Watch watch = requireWatch(number);
    const std::string folder = existingFolder(settings.folder);
    if (!platform::current().fileSystem.contentsOfDirectory(folder)) {
        throw SettingsError(SettingsError::Code::failed, folder + " cannot be listed: you may not read it");
    }
    const ListedProjects projects = folderProjects();
    const ListedProject& project = requireFolderProject(*watch, projects, settings.projectID);
    requireReadableSettings();

    watch->setMonitorFolderPath(folder);
    watch->setTimeInterval(settings.seconds);
    watch->setConnectedProjectID(project.id());
    save(session, number, *watch);
    SettingsChange change{.sentence = "Watched folder " + number + " is " + folder +
                                      ": new files in it run project " + project.idAndName() +
                                      "; it is looked at every " + std::to_string(settings.seconds) + " s.",
                          .facts = {{"number", platform::integerValue(number)},
                                    {"folder", folder},
                                    {"interval", settings.seconds},
                                    {"project", project.id()},
                                    {"file", paths::watchedFolderSettingsFile()}},
                          .notes = {}};
    const auto& watches = TrEventManager::sharedEventManager()->monitorEventList();
    for (std::size_t i = 0; i < watches.size(); ++i) {
        if (std::to_string(i + 1) != number && watches[i]->monitorFolderPath() == folder) {
            change.addNote("watched folder " + std::to_string(i + 1) + " is the same folder");
        }
    }
    return change;
}

SettingsChange unwatchFolder(SettingsSession& session, const std::string& number) {
    const Watch watch = requireWatch(number);
    requireReadableSettings();
    const std::optional<std::string> folder = watch->monitorFolderPath();
    if (!folder) {
        throw SettingsError(SettingsError::Code::notFound, "watched folder " + number + " is not set");
    }

    watch->setMonitorFolderPath(std::nullopt);
    watch->setTimeInterval(std::nullopt);
    watch->setConnectedProjectID(std::nullopt);
    save(session, number, *watch);
    return {.sentence = (folder->empty() ? "Watched folder " + number : *folder) + " is no longer watched.",
            .facts = {{"number", platform::integerValue(number)},
                      {"folder", Value()},
                      {"formerFolder", *folder},
                      {"file", paths::watchedFolderSettingsFile()}},
            .notes = {}};
}

} // namespace trigora::tools
