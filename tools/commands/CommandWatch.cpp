#include "tools/commands/CommandWatch.h"

#include "catalogue/events/TrEventManager.h"
#include "catalogue/events/TrMonitorEventInformation.h"
#include "files/InstalledPaths.h"
#include "platform/DistributedNotifications.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"
#include "platform/Text.h"
#include "projects/information/TrProjectInformation.h"
#include "tools/frame/ChangeReport.h"
#include "tools/frame/Report.h"
#include "tools/settings/DamagedFiles.h"
#include "tools/settings/ProjectCatalogue.h"
#include "tools/settings/ScanSettingValues.h"
#include "tools/settings/SettingsSession.h"
#include "tools/words/Wording.h"

#include <array>

namespace trigora::tools {

namespace {

using Watch = std::shared_ptr<TrMonitorEventInformation>;

constexpr std::array watchOptions{Option{"every", "SECONDS", "how often to look, 1 to 86400", true},
                                  Option{"project", "ID", "folder project to run on new files", true},
                                  jsonOption, rootOption};
constexpr std::array unwatchOptions{jsonOption, rootOption};

constexpr std::string_view watchExamples = "  trigoractl watch 1 ~/Scans --every 10 --project 701\n";
constexpr std::string_view unwatchExamples = "  trigoractl unwatch 1\n";

void requireReadableSettings() {
    requireUndamaged(damagedWatchedFolderFiles());
    // Saving writes the bindings without a model along.
    requireUndamaged(damagedBindingFiles(std::nullopt));
}

Watch requireWatch(const std::string& number) {
    const auto& watches = TrEventManager::sharedEventManager()->monitorEventList();
    if (watches.empty()) {
        throw Failure(notFound, "no event for watched folders is installed in " + paths::eventFolder());
    }
    const bool isDigit = number.size() == 1 && number[0] >= '1' && number[0] <= '9';
    const std::size_t index = isDigit ? static_cast<std::size_t>(number[0] - '1') : watches.size();
    if (index >= watches.size()) {
        throw Failure(wrongUsage, "there is no watched folder " + printable(number) +
                                      ": they are numbered from 1 to " + std::to_string(watches.size()));
    }
    return watches[index];
}

const ListedProject& requireFolderProject(const TrMonitorEventInformation& watch,
                                          const ListedProjects& projects, const std::string& projectID) {
    const ListedProject& project = requireProject(projects, projectID);
    if (!project.isAvailable) {
        throw Failure(notFound, "project " + project.idAndName() + " is not available: " +
                                    project.problem.value_or("the agent leaves it out"));
    }
    if (!watch.isSupportProjectID(project.id()) ||
        !watch.isSupportProjectType(project.project->type().value_or(""))) {
        throw Failure(notFound, "watched folders cannot run project " + project.idAndName() +
                                    ", which is of type " + textOrDash(project.project->type()));
    }
    return project;
}

/// Writes the settings of the watched folders, reads them again, and throws a `Failure` unless they hold
/// what was set.
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
        throw Failure(failed, "the settings could not be written to " + paths::watchedFolderSettingsFile() +
                                  "; is the disk full, or may you not write there?");
    }
    platform::current().notifications.post("MonitorFolderSettingsDidChangeNotification", std::nullopt, false);
}

ExitCode watch(const Arguments& arguments, std::ostream& out, std::ostream&) {
    const std::vector<std::string> operands = arguments.requireOperands({"N", "FOLDER"});
    const std::int64_t seconds = arguments.integer("every", 0, 1, secondsOfDay);
    SettingsSession session(rootOf(arguments));
    const Watch watch = requireWatch(operands[0]);
    const std::string folder = existingFolder(operands[1]);
    if (!platform::current().fileSystem.contentsOfDirectory(folder)) {
        throw Failure(failed, folder + " cannot be listed: you may not read it");
    }
    const ListedProjects projects = folderProjects();
    const ListedProject& project =
        requireFolderProject(*watch, projects, arguments.text("project").value_or(""));
    requireReadableSettings();

    watch->setMonitorFolderPath(folder);
    watch->setTimeInterval(seconds);
    watch->setConnectedProjectID(project.id());
    save(session, operands[0], *watch);
    ChangeReport report{.sentence = "Watched folder " + operands[0] + " is " + folder +
                                    ": new files in it run project " + project.idAndName() +
                                    "; it is looked at every " + std::to_string(seconds) + " s.",
                        .facts = {{"number", platform::integerValue(operands[0])},
                                  {"folder", folder},
                                  {"interval", seconds},
                                  {"project", project.id()},
                                  {"file", paths::watchedFolderSettingsFile()}},
                        .notes = {}};
    for (std::size_t i = 0; i < TrEventManager::sharedEventManager()->monitorEventList().size(); ++i) {
        const auto& other = TrEventManager::sharedEventManager()->monitorEventList()[i];
        if (std::to_string(i + 1) != operands[0] && other->monitorFolderPath() == folder) {
            report.addNote("watched folder " + std::to_string(i + 1) + " is the same folder");
        }
    }
    report.print(arguments, out);
    return done;
}

ExitCode unwatch(const Arguments& arguments, std::ostream& out, std::ostream&) {
    const std::vector<std::string> operands = arguments.requireOperands({"N"});
    SettingsSession session(rootOf(arguments));
    const Watch watch = requireWatch(operands[0]);
    requireReadableSettings();
    const std::optional<std::string> folder = watch->monitorFolderPath();
    if (!folder) {
        throw Failure(notFound, "watched folder " + operands[0] + " is not set");
    }

    watch->setMonitorFolderPath(std::nullopt);
    watch->setTimeInterval(std::nullopt);
    watch->setConnectedProjectID(std::nullopt);
    save(session, operands[0], *watch);
    const ChangeReport report{.sentence = (folder->empty() ? "Watched folder " + operands[0] : *folder) +
                                          " is no longer watched.",
                              .facts = {{"number", platform::integerValue(operands[0])},
                                        {"folder", Value()},
                                        {"formerFolder", *folder},
                                        {"file", paths::watchedFolderSettingsFile()}},
                              .notes = {}};
    report.print(arguments, out);
    return done;
}

} // namespace

Command watchCommand() {
    return {.name = "watch",
            .operands = "N FOLDER",
            .summary = "Sets watched folder N, 1 to 3: new files in it run a folder project.",
            .options = watchOptions,
            .run = watch,
            .details =
                "trigoractl projects --folder lists the folder projects; trigoractl project new --folder\n"
                "makes one.\n",
            .examples = watchExamples,
            .usesPlatform = true};
}

Command unwatchCommand() {
    return {.name = "unwatch",
            .operands = "N",
            .summary = "Has watched folder N, 1 to 3, no longer watched.",
            .options = unwatchOptions,
            .run = unwatch,
            .examples = unwatchExamples,
            .usesPlatform = true};
}

} // namespace trigora::tools
