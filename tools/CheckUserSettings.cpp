#include "tools/CheckUserSettings.h"

#include "catalogue/TrActionInformation.h"
#include "catalogue/TrEventInformation.h"
#include "catalogue/TrEventManager.h"
#include "catalogue/TrMonitorEventInformation.h"
#include "catalogue/TrScannerDriverInformation.h"
#include "files/FileManagerExtension.h"
#include "files/InstalledPaths.h"
#include "files/TrFilePathUtility.h"
#include "platform/FileSystem.h"
#include "platform/Formats.h"
#include "platform/Platform.h"
#include "platform/Text.h"
#include "projects/TrProjectInformation.h"
#include "tools/CheckCatalogue.h"
#include "tools/CheckTextFile.h"
#include "tools/InstalledActions.h"
#include "tools/ProjectCatalogue.h"
#include "tools/Report.h"
#include "tools/ScannerModels.h"
#include "tools/SettingsSession.h"

#include <algorithm>
#include <map>
#include <optional>

namespace trigora::tools {

namespace {

constexpr std::string_view modelPrefix = "Model";

using Names = std::vector<std::string>;

bool existsAt(const std::string& path) { return platform::current().fileSystem.exists(path); }

Names namesIn(const std::string& folder) { return exDirectoryContentsAtPath(folder).value_or(Names()); }

/// The installed action with that ID; null when there is none.
const InstalledAction* actionWithID(const std::vector<InstalledAction>& actions,
                                    const std::string& actionID) {
    const auto found = std::ranges::find_if(
        actions, [&](const auto& installed) { return installed.action->actionID() == actionID; });
    return found == actions.end() ? nullptr : &*found;
}

// Projects.

enum class ProjectKind { predefined, own, folder, device };

void checkActionOfProject(TrProjectInformation& project, ProjectKind kind, Findings& findings) {
    const std::string path = project.projectFilePath().value_or("");
    const std::string actionID = valueInFile(path, "Launch", "ActionID").value_or("");
    const bool isOfUser = kind == ProjectKind::own || kind == ProjectKind::device;
    const char* consequence =
        isOfUser ? "pages are scanned, but nothing opens them" : "the project is left out";
    if (actionID.empty()) {
        // The user may want the pages in their folder and nothing more.
        findings.push_back({path, "ActionID", "the project has no action", consequence, isOfUser});
        return;
    }
    if (const auto problem = actionProblem(project)) {
        const std::vector<InstalledAction> actions = installedActions();
        const InstalledAction* action = actionWithID(actions, actionID);
        const bool isSeparate = action != nullptr && isSeparateProduct(action->namedApplication);
        findings.push_back({path, "ActionID", *problem, consequence, isSeparate});
    }
}

void checkScanSettingsOfProject(const TrProjectInformation& project, Findings& findings) {
    const std::string path = project.projectFilePath().value_or("");
    const std::string settings = valueInFile(path, "Launch", "ScanSetting").value_or("");
    if (settings.empty() || !project.isScanAble()) {
        return;
    }
    constexpr const char* consequence = "the project scans with the default settings";
    if (!existsAt(settings)) {
        findings.push_back({path, "ScanSetting", settings + " is missing", consequence});
    } else if (const auto damaged = damagedScanSettings(path)) {
        findings.push_back({path, "ScanSetting", *damaged + " is damaged", consequence});
    }
}

void checkProjectFile(const std::string& path, ProjectKind kind, std::map<std::string, std::string>& fileOfID,
                      Findings& findings) {
    if (!checkSectionFile(path, findings)) {
        return;
    }
    const auto project = TrProjectInformation::initWithPath(path);
    if (!project->projectID() && !project->type()) {
        findings.push_back({path, "ProjectID", "the file says neither what project it is nor of what type",
                            "the project is left out"});
        return;
    }
    const std::string projectID = project->projectID().value_or("");
    if (projectID.empty()) {
        findings.push_back({path, "ProjectID", "the project has no ID", "no event can run it"});
    } else if (const auto [other, isNew] = fileOfID.emplace(projectID, path); !isNew) {
        findings.push_back({path, "ProjectID",
                            "the ID " + printable(projectID) + " is that of " + other->second,
                            "events run the other project"});
    }
    checkActionOfProject(*project, kind, findings);
    checkScanSettingsOfProject(*project, findings);
    checkTexts(platform::deletingPathExtension(path), findings);
    checkPicture(valueInFile(path, "Launch", "Icon").value_or(""), path, "Icon", findings);
}

void checkProjectFolder(const std::string& folder, ProjectKind kind, Findings& findings) {
    std::map<std::string, std::string> fileOfID;
    for (const std::string& path : filesInFolder(folder, "plg")) {
        checkProjectFile(path, kind, fileOfID, findings);
    }
}

/// "ModelXXXX" folders in a folder, by model ID.
Names modelsWithFolders(const std::string& folder) {
    Names models;
    for (const std::string& name : namesIn(folder)) {
        if (name.starts_with(modelPrefix)) {
            models.push_back(name.substr(modelPrefix.size()));
        }
    }
    return models;
}

// Bindings.

void checkBinding(const std::string& file, const std::string& eventID, const Value& value,
                  const ListedProjects& projects, Findings& findings) {
    const std::string* projectID = value.text();
    if (projectID == nullptr) {
        findings.push_back({file, eventID, "the value is no text", "the event runs its default project"});
        return;
    }
    const auto event = TrEventManager::sharedEventManager()->eventInformationWithEventID(eventID);
    if (!event) {
        findings.push_back({file, eventID, "no such event is installed", "the binding is never used"});
        return;
    }
    const ListedProject* project = findProject(projects, *projectID);
    constexpr const char* runsNothing = "the button does nothing";
    if (platform::integerValue(*projectID) == 0) {
        return; // on purpose: the project that does nothing
    }
    if (project == nullptr) {
        findings.push_back(
            {file, eventID, "there is no project " + printable(*projectID) + " for this model", runsNothing});
    } else if (!project->isAvailable) {
        findings.push_back({file, eventID,
                            "project " + project->idAndName() +
                                " is not available: " + project->problem.value_or("it cannot run"),
                            runsNothing});
    } else if (!event->isSupportProjectID(*projectID) ||
               !event->isSupportProjectType(project->project->type().value_or(""))) {
        findings.push_back({file, eventID, "the event does not support project " + project->idAndName(),
                            "the project runs, but no settings program would offer it"});
    }
}

void checkBindingsOfModel(const std::optional<std::string>& modelID, Findings& findings) {
    const std::vector<std::string> damaged = damagedBindingFiles(modelID);
    for (const std::string& file : damaged) {
        findings.push_back(
            {file, "", "damaged, or it cannot be read", "the events run their default projects"});
    }
    const std::string current = paths::buttonBindingsFile(modelID);
    const std::string file = existsAt(current) ? current : paths::formerButtonBindingsFile(modelID);
    const auto value = damaged.empty() ? platform::current().propertyLists.read(file) : std::nullopt;
    if (!value || value->dictionary() == nullptr) {
        return;
    }
    const ListedProjects projects = scanProjects(modelID ? driverOfModel(*modelID) : nullptr);
    for (const auto& [eventID, projectID] : *value->dictionary()) {
        checkBinding(file, eventID, projectID, projects, findings);
    }
}

// Watched folders.

constexpr const char* notWatched = "the folder is not watched";

void checkFolder(const std::string& file, const std::string& key, const std::string& folder,
                 Findings& findings) {
    platform::FileSystem& files = platform::current().fileSystem;
    std::string problem;
    if (!files.exists(folder)) {
        problem = " is missing";
    } else if (!files.isDirectory(folder)) {
        problem = " is no folder";
    } else if (!files.contentsOfDirectory(folder)) {
        problem = " cannot be read";
    }
    if (!problem.empty()) {
        findings.push_back({file, key + ", folderPath", printable(folder) + problem, notWatched});
    }
}

void checkProjectOfFolder(const std::string& file, const std::string& key,
                          const std::optional<std::string>& projectID, const ListedProjects& projects,
                          Findings& findings) {
    const std::string where = key + ", executiveProjectID";
    if (!projectID || projectID->empty()) {
        findings.push_back({file, where, "no project is bound to the folder", notWatched});
        return;
    }
    const ListedProject* listed = findProject(projects, *projectID);
    if (listed == nullptr || !listed->project) {
        findings.push_back({file, where, "there is no folder project " + printable(*projectID), notWatched});
    } else if (!listed->project->isRunableProject()) {
        findings.push_back(
            {file, where,
             "project " + listed->idAndName() + ": " + listed->problem.value_or("it has no application"),
             notWatched});
    }
}

} // namespace

void checkProjects(Findings& findings) {
    const auto utility = TrFilePathUtility::sharedFilePathUtility();
    checkProjectFolder(paths::predefinedProjectFolder(), ProjectKind::predefined, findings);
    checkProjectFolder(utility->defaultCustomProjectFolderPath(), ProjectKind::own, findings);
    for (const std::string& model : modelsWithFolders(paths::userFolder())) {
        checkProjectFolder(paths::userFolder() + "/Model" + model + "/AppInfo1", ProjectKind::own, findings);
    }
    checkProjectFolder(utility->customFolderProjectFolderPath(), ProjectKind::folder, findings);
    for (const std::string& device : namesIn(paths::deviceSettingsFolder())) {
        const std::string folder = paths::deviceSettingsFolder() + "/" + device + "/AppInfo1";
        for (const std::string& language : namesIn(folder)) {
            checkProjectFolder(platform::appendingPathComponent(folder, language), ProjectKind::device,
                               findings);
        }
    }
}

void checkBindings(Findings& findings) {
    checkBindingsOfModel(std::nullopt, findings);
    Names models = modelsWithFolders(paths::settingsFolder());
    for (const std::string& model : modelsWithFolders(paths::formerSettingsFolder())) {
        if (std::ranges::find(models, model) == models.end()) {
            models.push_back(model);
        }
    }
    for (const std::string& model : models) {
        checkBindingsOfModel(model, findings);
    }
}

void checkWatchedFolders(Findings& findings) {
    const std::string file = paths::watchedFolderSettingsFile();
    for (const std::string& damaged : damagedWatchedFolderFiles()) {
        findings.push_back({damaged, "", "damaged, or it cannot be read", "no folder in it is watched"});
    }
    const ListedProjects projects = folderProjects();
    int number = 0;
    for (const auto& event : TrEventManager::sharedEventManager()->monitorEventList()) {
        const std::string key = std::to_string(++number);
        const auto& folder = event->monitorFolderPath();
        if (!folder || folder->empty()) {
            continue; // not set up
        }
        checkFolder(file, key, *folder, findings);
        const auto& interval = event->timeInterval();
        if (!interval || platform::integerOf(*interval).value_or(0) < 1) {
            findings.push_back({file, key + ", intervalTime",
                                "the interval " + (interval ? printable(interval->description()) : "") +
                                    " is no number of at least 1",
                                notWatched});
        }
        checkProjectOfFolder(file, key, event->connectedProjectID(nullptr), projects, findings);
    }
}

void checkNetworkSettings(Findings& findings) {
    const auto utility = TrFilePathUtility::sharedFilePathUtility();
    for (const std::string& file :
         {utility->networkScanSettingPath(), utility->oldNetworkScanSettingPath()}) {
        const auto value =
            existsAt(file) ? platform::current().propertyLists.read(file) : Value(Dictionary());
        if (!value || value->dictionary() == nullptr) {
            findings.push_back(
                {file, "", "damaged, or it cannot be read", "network scan has its default settings"});
        }
    }
}

} // namespace trigora::tools
