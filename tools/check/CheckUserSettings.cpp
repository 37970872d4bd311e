#include "tools/check/CheckUserSettings.h"

#include "catalogue/actions/TrActionInformation.h"
#include "catalogue/drivers/TrScannerDriverInformation.h"
#include "catalogue/events/TrEventInformation.h"
#include "catalogue/events/TrEventManager.h"
#include "catalogue/events/TrMonitorEventInformation.h"
#include "files/FileManagerExtension.h"
#include "files/InstalledPaths.h"
#include "files/TrFilePathUtility.h"
#include "platform/FileSystem.h"
#include "platform/Formats.h"
#include "platform/Platform.h"
#include "platform/Text.h"
#include "projects/information/TrProjectInformation.h"
#include "projects/settings/ScanSettingSchema.h"
#include "tools/check/CheckCatalogue.h"
#include "tools/check/CheckTextFile.h"
#include "tools/settings/DamagedFiles.h"
#include "tools/settings/InstalledActions.h"
#include "tools/settings/ProjectCatalogue.h"
#include "tools/settings/ScanSettingValues.h"
#include "tools/settings/ScannerModels.h"
#include "tools/settings/SettingsSession.h"
#include "tools/settings/WatchedFolders.h"
#include "tools/words/Wording.h"

#include <algorithm>
#include <array>
#include <map>
#include <optional>

namespace trigora::tools {

namespace {

constexpr std::string_view modelPrefix = "Model";

using Names = std::vector<std::string>;

Names namesIn(const std::string& folder) { return exDirectoryContentsAtPath(folder).value_or(Names()); }

/// The installed action with that ID; null when there is none.
const InstalledAction* actionWithID(const std::vector<InstalledAction>& actions,
                                    const std::string& actionID) {
    const auto found = std::ranges::find_if(
        actions, [&](const auto& installed) { return installed.action->actionID() == actionID; });
    return found == actions.end() ? nullptr : &*found;
}

bool canEverybodyEnter(std::string folder) {
    constexpr std::uint32_t enterableByOthers = 01;
    for (;;) {
        const auto attributes = exFileAttributesAtPath(folder, true);
        if (!attributes || (attributes->posixPermissions.value_or(0) & enterableByOthers) == 0) {
            return false;
        }
        std::string parent = platform::deletingLastPathComponent(folder);
        if (parent == folder || parent.empty()) {
            return true;
        }
        folder = std::move(parent);
    }
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

void checkValuesOfScanSettings(const std::string& file, Findings& findings) {
    const auto settings = platform::current().propertyLists.read(file);
    for (const ScanSetting& setting : scan_settings::all) {
        const Value* value = platform::find(*settings->dictionary(), setting.key);
        if (const auto problem = value != nullptr ? problemOfScanSetting(setting, *value) : std::nullopt) {
            findings.push_back(
                {file, std::string(setting.key), *problem, "the scan is made in some other way, or fails"});
        }
    }
}

void checkScanSettingsOfProject(const TrProjectInformation& project, Findings& findings) {
    const std::string path = project.projectFilePath().value_or("");
    const std::string settings = valueInFile(path, "Launch", "ScanSetting").value_or("");
    if (settings.empty() || !project.isScanAble()) {
        return;
    }
    constexpr const char* consequence = "the project scans with the default settings";
    if (!itemExistsAtPath(settings)) {
        findings.push_back({path, "ScanSetting", settings + " is missing", consequence});
    } else if (const auto damaged = damagedScanSettings(path)) {
        findings.push_back({path, "ScanSetting", *damaged + " is damaged", consequence});
    } else {
        checkValuesOfScanSettings(settings, findings);
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
    constexpr std::array knownTypes{"0x0001", "0x0002", "0x0003", "0x8001", "0x8002", "0x8003"};
    const std::string type = project->type().value_or("");
    if (std::ranges::find(knownTypes, type) == knownTypes.end()) {
        findings.push_back({path, "ProjectType", "\"" + printable(type) + "\" is no known type of project",
                            "the project does not scan, and no event offers it"});
    }
    checkActionOfProject(*project, kind, findings);
    checkScanSettingsOfProject(*project, findings);
    checkTexts(platform::deletingPathExtension(path), findings);
    checkPicture(valueInFile(path, "Launch", "Icon").value_or(""), path, "Icon", findings);
}

/// By ID, the files of projects in the folder are added to those that are run before them.
void checkProjectFolder(const std::string& folder, ProjectKind kind,
                        std::map<std::string, std::string>& fileOfID, Findings& findings) {
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
    const std::string file = bindingsFileInUse(modelID);
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

/// What of the settings file does not even get to the agent.
void checkKindsOfWatch(const std::string& file, const std::string& key, const Value* entry,
                       Findings& findings) {
    constexpr const char* consequence = "the folder is not watched";
    if (entry == nullptr) {
        return;
    }
    if (entry->dictionary() == nullptr) {
        findings.push_back({file, key, "the entry is no dictionary", consequence});
        return;
    }
    const Value* folder = platform::find(*entry->dictionary(), "folderPath");
    if (folder != nullptr && folder->text() == nullptr) {
        findings.push_back({file, key + ", folderPath", "the path is no text", consequence});
    }
}

} // namespace

void checkProjects(Findings& findings) {
    const auto utility = TrFilePathUtility::sharedFilePathUtility();
    const std::string predefined = paths::predefinedProjectFolder();
    if (filesInFolder(predefined, "plg").empty()) {
        findings.push_back({predefined, "", "no predefined projects are installed",
                            "buttons run only what the user has made and bound"});
    }
    std::map<std::string, std::string> predefinedIDs;
    checkProjectFolder(predefined, ProjectKind::predefined, predefinedIDs, findings);
    // A predefined project is found before one of the user's.
    const auto checkOwn = [&](const std::string& folder, ProjectKind kind) {
        std::map<std::string, std::string> fileOfID = predefinedIDs;
        checkProjectFolder(folder, kind, fileOfID, findings);
    };
    checkOwn(utility->defaultCustomProjectFolderPath(), ProjectKind::own);
    for (const std::string& model : modelsWithFolders(paths::userFolder())) {
        checkOwn(paths::userFolder() + "/Model" + model + "/AppInfo1", ProjectKind::own);
    }
    std::map<std::string, std::string> folderIDs;
    checkProjectFolder(utility->customFolderProjectFolderPath(), ProjectKind::folder, folderIDs, findings);
    for (const std::string& device : namesIn(paths::deviceSettingsFolder())) {
        const std::string folder = paths::deviceSettingsFolder() + "/" + device + "/AppInfo1";
        for (const std::string& language : namesIn(folder)) {
            checkOwn(platform::appendingPathComponent(folder, language), ProjectKind::device);
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
        if (!isKnownModel(model)) {
            findings.push_back({bindingsFileInUse(model), "",
                                "no known scanner is of model " + printable(model),
                                "the bindings count only if there is one", true});
        }
        checkBindingsOfModel(model, findings);
    }
}

void checkWatchedFolders(Findings& findings) {
    const std::string file = paths::watchedFolderSettingsFile();
    for (const std::string& damaged : damagedWatchedFolderFiles()) {
        findings.push_back({damaged, "", "damaged, or it cannot be read", "no folder in it is watched"});
    }
    const auto settings =
        itemExistsAtPath(file) ? platform::current().propertyLists.read(file).value_or(Value()) : Value();
    const ListedProjects projects = folderProjects();
    int number = 0;
    for (const auto& watch : TrEventManager::sharedEventManager()->monitorEventList()) {
        const std::string key = std::to_string(++number);
        checkKindsOfWatch(file, key,
                          settings.dictionary() ? platform::find(*settings.dictionary(), key) : nullptr,
                          findings);
        for (const WatchProblem& problem : problemsOfWatch(*watch, projects)) {
            findings.push_back({file, key + ", " + problem.key, problem.problem, problem.consequence});
        }
    }
}

void checkNetworkSettings(Findings& findings) {
    const auto utility = TrFilePathUtility::sharedFilePathUtility();
    for (const std::string& file :
         {utility->networkScanSettingPath(), utility->oldNetworkScanSettingPath()}) {
        const auto value =
            itemExistsAtPath(file) ? platform::current().propertyLists.read(file) : Value(Dictionary());
        if (!value || value->dictionary() == nullptr) {
            findings.push_back(
                {file, "", "damaged, or it cannot be read", "network scan has its default settings"});
        }
    }
}

void checkWhoMayEnter(Findings& findings) {
    const std::string folder = paths::preferencesFolder();
    if (itemExistsAtPath(paths::userFolder()) && canEverybodyEnter(folder)) {
        findings.push_back(
            {folder, "", "every user of this machine can enter it",
             "others can change what your buttons start, until you close it with chmod go-rwx"});
    }
}

} // namespace trigora::tools
