#include "tools/ProjectStore.h"

#include "catalogue/TrActionInformation.h"
#include "catalogue/TrScannerDriverInformation.h"
#include "files/FileManagerExtension.h"
#include "files/InstalledPaths.h"
#include "files/ParsedFiles.h"
#include "files/TrFilePathUtility.h"
#include "platform/FileSystem.h"
#include "platform/Formats.h"
#include "platform/Text.h"
#include "projects/ProjectFileName.h"
#include "projects/TrProjectInformation.h"
#include "tools/Command.h"
#include "tools/Report.h"
#include "tools/ScannerModels.h"

#include <algorithm>
#include <set>

namespace trigora::tools {

namespace {

constexpr int firstOwnID = 701;
constexpr int lastOwnID = 799;
constexpr std::size_t longestFileName = 255; ///< bytes
constexpr std::string_view modelPrefix = "Model";

bool existsAt(const std::string& path) { return platform::current().fileSystem.exists(path); }

/// Empty for a file that is missing or damaged.
Dictionary dictionaryIn(const std::string& path) {
    const std::optional<Value> value = platform::current().propertyLists.read(path);
    return value && value->dictionary() != nullptr ? *value->dictionary() : Dictionary();
}

struct BindingFile {
    std::optional<std::string> model;
    Dictionary bindings;
};

/// The bindings of every model, as the agent would read them.
std::vector<BindingFile> allBindings() {
    std::set<std::optional<std::string>> models{std::nullopt};
    for (const std::string& folder : {paths::settingsFolder(), paths::formerSettingsFolder()}) {
        for (const std::string& name :
             exDirectoryContentsAtPath(folder).value_or(std::vector<std::string>())) {
            if (name.starts_with(modelPrefix)) {
                models.insert(name.substr(modelPrefix.size()));
            }
        }
    }
    std::vector<BindingFile> files;
    for (const auto& model : models) {
        const std::string current = paths::buttonBindingsFile(model);
        files.push_back(
            {model, dictionaryIn(existsAt(current) ? current : paths::formerButtonBindingsFile(model))});
    }
    return files;
}

Dictionary watchedFolders() { return dictionaryIn(paths::watchedFolderSettingsFile()); }

std::optional<std::string> applicationOf(const TrProjectInformation& project) {
    const auto& action = project.actionInformation();
    return action ? action->applicationPath() : std::nullopt;
}

/// Whether the project's files say what the project in memory does.
bool isWrittenAs(const TrProjectInformation& project) {
    forgetParsedFiles();
    const auto written = TrProjectInformation::initWithPath(project.projectFilePath().value_or(""));
    return written->projectID() == project.projectID() && written->projectName() == project.projectName() &&
           written->type() == project.type() && applicationOf(*written) == applicationOf(project) &&
           (!project.isScanAble() || written->scanSettings() == project.scanSettings());
}

[[noreturn]] void failToWrite(const TrProjectInformation& project) {
    throw Failure(failed,
                  "the project could not be written to " + project.projectFilePath().value_or("") +
                      "; is the disk full, may you not write there, or does the path have \"[\", \"]\" "
                      "or \"=\" in it?");
}

bool belongsToAProject(const std::string& name) {
    return (name.starts_with("String") && name.ends_with(".def")) || name == "icon.png" ||
           name == TrFilePathUtility::sharedFilePathUtility()->scanSettingsFileName();
}

} // namespace

std::string ProjectStore::folder() const {
    const auto paths = TrFilePathUtility::sharedFilePathUtility();
    return isOfFolders_ ? paths->customFolderProjectFolderPath()
                        : paths->customProjectPathWithScannerDriver(driver_);
}

const ProjectList& ProjectStore::list() const {
    const auto manager = TrProjectManager::sharedProjectManager();
    return isOfFolders_ ? manager->monitorProjectList()
                        : manager->customProjectListWithScannerDriver(driver_);
}

// A new project with the ID of one that is gone must not be run by what was bound to that one.
std::string ProjectStore::freeID() const {
    std::set<std::string> taken;
    for (const auto& project : list()) {
        taken.insert(project->projectID().value_or(""));
    }
    for (int number = firstOwnID; number <= lastOwnID; ++number) {
        const std::string id = std::to_string(number);
        if (!taken.contains(id) && usersOf(id).empty()) {
            return id;
        }
    }
    throw Failure(failed, "all IDs from 701 to 799 are taken; delete a project first");
}

void ProjectStore::requireFreeName(const std::string& name) const {
    const std::string fileName = projectFileName(name);
    const bool isBlank = name.find_first_not_of(' ') == std::string::npos;
    if (isBlank || !platform::isValidUtf8(name) || name != printable(name) ||
        name.find_first_of("[]=") != std::string::npos || fileName.size() + 4 > longestFileName) {
        throw Failure(wrongUsage,
                      "a project cannot be named \"" + printable(name) +
                          "\": a name has no \"=\", \"[\" or \"]\" and no control characters, is not "
                          "blank and not longer than 251 bytes");
    }
    const std::string path = platform::appendingPathComponent(folder(), fileName);
    const bool isNamed =
        std::ranges::any_of(list(), [&](const auto& project) { return project->projectName() == name; });
    if (isNamed || existsAt(path) || existsAt(platform::appendingPathExtension(path, "plg"))) {
        throw Failure(failed, "there is a project or file named " + name + " already; choose another name");
    }
}

void ProjectStore::placeProject(TrProjectInformation& project, const std::string& name,
                                const std::string& id) const {
    const auto paths = TrFilePathUtility::sharedFilePathUtility();
    const std::string ownFolder = platform::appendingPathComponent(folder(), projectFileName(name));
    project.setProjectName(name);
    project.setProjectID(id);
    project.setProjectFilePath(platform::appendingPathExtension(ownFolder, "plg"));
    if (!isOfFolders_) {
        project.setScanSettingsPath(
            platform::appendingPathComponent(ownFolder, paths->scanSettingsFileName()));
        project.setPdfSettingFolderAtScanSettings(ownFolder);
    }
}

void ProjectStore::handOver(const ProjectList& list) {
    const auto manager = TrProjectManager::sharedProjectManager();
    if (isOfFolders_) {
        manager->setMonitorProjectList(list);
    } else {
        manager->setCustomProjectList(list, driver_);
    }
}

void ProjectStore::add(const std::shared_ptr<TrProjectInformation>& project) {
    project->writeProjectInformation();
    if (!isWrittenAs(*project)) {
        exRemoveItemAtPath(*project->projectFilePath());
        exRemoveItemAtPath(platform::deletingPathExtension(*project->projectFilePath()));
        failToWrite(*project);
    }
    ProjectList projects = list();
    projects.push_back(project);
    handOver(projects);
}

void ProjectStore::write(const std::shared_ptr<TrProjectInformation>& project) {
    project->writeProjectInformation();
    if (!isWrittenAs(*project)) {
        failToWrite(*project);
    }
    handOver(ProjectList(list()));
}

void ProjectStore::writeScanSettings(const std::shared_ptr<TrProjectInformation>& project) {
    const auto onlySettings = project->copyProjectInformation();
    onlySettings->setProjectFilePath(std::nullopt);
    onlySettings->writeProjectInformation();
    if (!isWrittenAs(*project)) {
        failToWrite(*project);
    }
    handOver(ProjectList(list()));
}

void ProjectStore::remove(const std::shared_ptr<TrProjectInformation>& project) {
    ProjectList projects = list();
    std::erase(projects, project);
    // The manager deletes by name; without one, no other project of the same name keeps this one's files.
    project->setProjectName(std::nullopt);
    handOver(projects);
    if (existsAt(*project->projectFilePath())) {
        throw Failure(failed,
                      *project->projectFilePath() + " could not be removed; may you not write there?");
    }
}

std::vector<std::string> ProjectStore::usersOf(const std::string& projectID) const {
    std::vector<std::string> users;
    if (isOfFolders_) {
        for (const auto& [number, entry] : watchedFolders()) {
            const Dictionary* settings = entry.dictionary();
            if (settings != nullptr && platform::textAt(*settings, "executiveProjectID") == projectID) {
                users.push_back("watched folder " + number);
            }
        }
        return users;
    }
    const auto paths = TrFilePathUtility::sharedFilePathUtility();
    for (const auto& [model, bindings] : allBindings()) {
        const auto driver = model ? driverOfModel(*model) : nullptr;
        if (paths->customProjectPathWithScannerDriver(driver) != folder()) {
            continue;
        }
        for (const auto& [eventID, project] : bindings) {
            if (project.text() != nullptr && *project.text() == projectID) {
                users.push_back("event " + eventID + (model ? " of model " + *model : std::string()));
            }
        }
    }
    return users;
}

std::vector<std::string> ProjectStore::foreignFilesOf(const TrProjectInformation& project) {
    const std::string folder = platform::deletingPathExtension(project.projectFilePath().value_or(""));
    std::vector<std::string> names = exDirectoryContentsAtPath(folder).value_or(std::vector<std::string>());
    std::erase_if(names, belongsToAProject);
    return names;
}

} // namespace trigora::tools
