#include "tools/settings/ProjectCatalogue.h"

#include "catalogue/actions/TrActionInformation.h"
#include "catalogue/drivers/TrScannerDriverInformation.h"
#include "files/FileManagerExtension.h"
#include "files/InstalledPaths.h"
#include "files/PxIniParser.h"
#include "files/TrFilePathUtility.h"
#include "platform/FileSystem.h"
#include "platform/Formats.h"
#include "platform/Text.h"
#include "projects/information/TrProjectInformation.h"
#include "tools/settings/SettingsError.h"
#include "tools/words/NearMatches.h"
#include "tools/words/Wording.h"

#include <algorithm>

namespace trigora::tools {

namespace {

using Origin = ListedProject::Origin;

/// The application that an installed action names; none when no such action is installed.
std::optional<std::string> applicationOfInstalledAction(const std::string& actionID) {
    for (const std::string& path : filesInFolder(paths::actionFolder(), "adi")) {
        if (valueInFile(path, "Launch", "ID") == actionID) {
            return valueInFile(path, "Launch_MacX", "AppPath").value_or("");
        }
    }
    return std::nullopt;
}

/// The application that the project's action names, whether or not it is there.
std::optional<std::string> namedApplication(const TrProjectInformation& project,
                                            const std::string& actionID) {
    const auto& action = project.actionInformation();
    if (action && action->applicationPath()) {
        return action->applicationPath();
    }
    if (actionID == TrActionInformation::userApplicationID) {
        return valueInFile(project.projectFilePath().value_or(""), "Event_Launch_MacX", "AppPath")
            .value_or("");
    }
    return applicationOfInstalledAction(actionID);
}

std::string actionIDOf(const TrProjectInformation& project) {
    const auto& action = project.actionInformation();
    if (action && action->actionID()) {
        return *action->actionID();
    }
    return valueInFile(project.projectFilePath().value_or(""), "Launch", "ActionID").value_or("");
}

std::optional<std::string> scanSettingsProblem(const std::string& path) {
    const std::optional<std::string> damaged = damagedScanSettings(path);
    return damaged ? std::optional("its scan settings are damaged: " + *damaged + "; the default ones count")
                   : std::nullopt;
}

/// What is wrong with a project, apart from what its driver can do.
std::optional<std::string> problemOf(TrProjectInformation& project, Origin origin) {
    if (origin == Origin::noAction) {
        return std::nullopt;
    }
    if (auto problem = actionProblem(project)) {
        return problem;
    }
    if (origin != Origin::own && actionIDOf(project).empty()) {
        return "it has no action";
    }
    return project.isScanAble() ? scanSettingsProblem(*project.projectFilePath()) : std::nullopt;
}

/// One that is in the agent's list.
ListedProject listed(const std::shared_ptr<TrProjectInformation>& project, Origin origin,
                     const std::shared_ptr<TrScannerDriverInformation>& driver) {
    ListedProject entry{.origin = origin,
                        .path = project->projectFilePath().value_or(""),
                        .project = project,
                        .isAvailable = true,
                        .problem = problemOf(*project, origin)};
    if (origin == Origin::folder) {
        entry.isAvailable = project->isRunableProject();
    } else if (!TrProjectManager::isAvailableProject(project, driver)) {
        entry.isAvailable = false;
        entry.problem = "not for this driver, which the newer scanning application serves";
    }
    return entry;
}

/// The files of a folder that are not in the agent's list.
void addFilesLeftOut(ListedProjects& projects, const std::string& folder, Origin origin) {
    for (const std::string& path : filesInFolder(folder, "plg")) {
        if (std::ranges::find(projects, path, &ListedProject::path) != projects.end()) {
            continue;
        }
        ListedProject entry{
            .origin = origin, .path = path, .project = {}, .isAvailable = false, .problem = {}};
        const auto project = TrProjectInformation::initWithPath(path);
        if (project->projectID() || project->type()) {
            entry.project = project;
            entry.problem = problemOf(*project, origin);
        } else {
            entry.problem = "damaged, or no project file: " + path;
        }
        projects.push_back(std::move(entry));
    }
}

Origin originOf(const TrProjectInformation& project) {
    const std::optional<std::string>& path = project.projectFilePath();
    if (!path) {
        return Origin::noAction;
    }
    const bool isInstalled = platform::deletingLastPathComponent(*path) == paths::predefinedProjectFolder();
    return isInstalled ? Origin::predefined : Origin::own;
}

} // namespace

std::optional<std::string> valueInFile(const std::string& path, const char* section, const char* key) {
    return PxIniParser::sharedParser()->valueWithFilePath(path, section, key);
}

std::vector<std::string> filesInFolder(const std::string& folder, std::string_view extension) {
    std::vector<std::string> paths;
    for (const std::string& name : exDirectoryContentsAtPath(folder).value_or(std::vector<std::string>())) {
        if (platform::pathExtension(name) == extension) {
            paths.push_back(platform::appendingPathComponent(folder, name));
        }
    }
    return paths;
}

std::string ListedProject::id() const { return project ? project->projectID().value_or("") : ""; }

std::string ListedProject::idAndName() const {
    const std::optional<std::string> name = project ? project->projectName() : std::nullopt;
    return textOrDash(id()) + (name ? " (" + printable(*name) + ")" : "");
}

std::string originName(Origin origin) {
    switch (origin) {
    case Origin::predefined:
        return "predefined";
    case Origin::own:
        return "own";
    case Origin::folder:
        return "folder";
    case Origin::noAction:
        break;
    }
    return "no action";
}

ListedProjects scanProjects(const std::shared_ptr<TrScannerDriverInformation>& driver) {
    const auto manager = TrProjectManager::sharedProjectManager();
    manager->setScanProjectListWithScannerDriver(driver);
    ListedProjects projects;
    for (const auto& project : manager->scanProjectList()) {
        projects.push_back(listed(project, originOf(*project), driver));
    }
    addFilesLeftOut(projects, paths::predefinedProjectFolder(), Origin::predefined);
    addFilesLeftOut(projects,
                    TrFilePathUtility::sharedFilePathUtility()->customProjectPathWithScannerDriver(driver),
                    Origin::own);
    return projects;
}

ListedProjects folderProjects() {
    ListedProjects projects;
    for (const auto& project : TrProjectManager::sharedProjectManager()->monitorProjectList()) {
        projects.push_back(listed(project, Origin::folder, nullptr));
    }
    addFilesLeftOut(projects, TrFilePathUtility::sharedFilePathUtility()->customFolderProjectFolderPath(),
                    Origin::folder);
    return projects;
}

const ListedProject* findProject(const ListedProjects& projects, const std::string& projectID) {
    const ListedProject* first = nullptr;
    for (const ListedProject& candidate : projects) {
        if (!candidate.project || candidate.id() != projectID) {
            continue;
        }
        if (candidate.isAvailable) {
            return &candidate;
        }
        first = first == nullptr ? &candidate : first;
    }
    return first;
}

const ListedProject& requireProject(const ListedProjects& projects, const std::string& projectID) {
    if (const ListedProject* found = findProject(projects, projectID)) {
        return *found;
    }
    std::vector<std::string> near;
    std::vector<std::string> all;
    for (const ListedProject& candidate : projects) {
        if (!candidate.project) {
            continue;
        }
        all.push_back(candidate.idAndName());
        const std::string name = candidate.project->projectName().value_or("");
        if (!nearMatches(projectID, {candidate.id(), name}).empty()) {
            near.push_back(candidate.idAndName());
        }
    }
    throw SettingsError(SettingsError::Code::notFound,
                        "there is no project " + printable(projectID) + listOfMatches(near, all));
}

std::optional<std::string> actionProblem(TrProjectInformation& project) {
    const std::string actionID = actionIDOf(project);
    if (actionID.empty() || project.isRunableProject()) {
        return std::nullopt;
    }
    const std::optional<std::string> application = namedApplication(project, actionID);
    if (!application) {
        return "no action " + actionID + " is installed";
    }
    return application->empty() ? "its action " + actionID + " names no application"
                                : "its application is missing: " + *application;
}

bool wouldLoseAction(TrProjectInformation& project) {
    const auto& action = project.actionInformation();
    return !actionIDOf(project).empty() && !(action && action->applicationPath());
}

std::optional<std::string> damagedScanSettings(const std::string& projectPath) {
    const std::optional<std::string> path = valueInFile(projectPath, "Launch", "ScanSetting");
    if (!path || path->empty() || !platform::current().fileSystem.exists(*path)) {
        return std::nullopt;
    }
    const std::optional<Value> settings = platform::current().propertyLists.read(*path);
    return settings && settings->dictionary() != nullptr ? std::nullopt : path;
}

} // namespace trigora::tools
