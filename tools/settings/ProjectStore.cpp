#include "tools/settings/ProjectStore.h"

#include "catalogue/actions/TrActionInformation.h"
#include "catalogue/drivers/TrScannerDriverInformation.h"
#include "files/FileManagerExtension.h"
#include "files/InstalledPaths.h"
#include "files/ParsedFiles.h"
#include "files/TrFilePathUtility.h"
#include "platform/FileSystem.h"
#include "platform/Formats.h"
#include "platform/Text.h"
#include "projects/information/ProjectFileName.h"
#include "projects/information/TrProjectInformation.h"
#include "tools/settings/DamagedFiles.h"
#include "tools/settings/ScannerModels.h"
#include "tools/settings/SettingsError.h"
#include "tools/settings/SettingsSession.h"
#include "tools/words/Wording.h"

#include <algorithm>
#include <map>
#include <set>

namespace trigora::tools {

namespace {

constexpr int firstOwnID = 701;
constexpr int lastOwnID = 799;
constexpr std::size_t longestFileName = 255; ///< bytes
constexpr std::string_view modelPrefix = "Model";

/// Empty for a file that is missing or damaged.
Dictionary dictionaryIn(const std::string& path) {
    const std::optional<Value> value = platform::current().propertyLists.read(path);
    return value && value->dictionary() != nullptr ? *value->dictionary() : Dictionary();
}

/// The models that may have bindings; none stands for those without a model.
std::set<std::optional<std::string>> modelsWithBindings() {
    std::set<std::optional<std::string>> models{std::nullopt};
    for (const std::string& folder : {paths::settingsFolder(), paths::formerSettingsFolder()}) {
        for (const std::string& name :
             exDirectoryContentsAtPath(folder).value_or(std::vector<std::string>())) {
            if (name.starts_with(modelPrefix)) {
                models.insert(name.substr(modelPrefix.size()));
            }
        }
    }
    return models;
}

/// The bindings of a model, as the agent would read them.
Dictionary bindingsOf(const std::optional<std::string>& model) {
    return dictionaryIn(bindingsFileInUse(model));
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
    throw SettingsError(SettingsError::Code::failed,
                        "the project could not be written to " + project.projectFilePath().value_or("") +
                            "; is the disk full, may you not write there, or does the path have \"[\", \"]\" "
                            "or \"=\" in it?");
}

/// What the files of a project hold, to put it back.
class FilesOfProject {
public:
    explicit FilesOfProject(const TrProjectInformation& project) {
        const std::string file = project.projectFilePath().value_or("");
        const std::string folder = platform::deletingPathExtension(file);
        for (const std::string& path : {folder, file, platform::appendingPathComponent(folder, "String.def"),
                                        project.scanSettingsFilePath().value_or(file)}) {
            if (itemExistsAtPath(path)) {
                contents_[path] =
                    platform::current().fileContents.read(path, platform::FileContents::longestSettings);
            } else {
                missing_.push_back(path);
            }
        }
    }

    void putBack() const {
        for (const auto& [path, bytes] : contents_) {
            if (bytes && platform::current().fileContents.read(
                             path, platform::FileContents::longestSettings) != bytes) {
                platform::current().fileContents.write(path, *bytes, true);
            }
        }
        std::ranges::for_each(missing_, exRemoveItemAtPath);
        forgetParsedFiles();
    }

private:
    std::map<std::string, std::optional<Data>> contents_; ///< none for a folder
    std::vector<std::string> missing_;
};

/// A file "...plg" has ".." for its folder, and "..plg" the folder of all projects.
void requireOwnFolder(const TrProjectInformation& project) {
    const std::string path = project.projectFilePath().value_or("");
    const std::string folder = platform::lastPathComponent(platform::deletingPathExtension(path));
    if (folder.empty() || folder.find_first_not_of('.') == std::string::npos) {
        throw SettingsError(SettingsError::Code::failed,
                            path + " cannot be a project's file, because of its name: the folder beside it "
                                   "is another's. Rename the file");
    }
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
    requireUndamaged(damagedUserFiles());
    std::set<std::string> taken;
    for (const auto& project : list()) {
        taken.insert(project->projectID().value_or(""));
    }
    for (int number = firstOwnID; number <= lastOwnID; ++number) {
        std::string id = std::to_string(number);
        if (!taken.contains(id) && usersOf(id).empty()) {
            return id;
        }
    }
    throw SettingsError(SettingsError::Code::failed,
                        "all IDs from 701 to 799 are taken; delete a project first");
}

void ProjectStore::requireFreeName(const std::string& name) const {
    const std::string fileName = projectFileName(name);
    const bool isBlank = name.find_first_not_of(' ') == std::string::npos;
    if (isBlank || !platform::isValidUtf8(name) || name != printable(name) ||
        name.find_first_of("[]=") != std::string::npos || fileName.size() + 4 > longestFileName) {
        throw SettingsError(SettingsError::Code::invalid,
                            "a project cannot be named \"" + printable(name) +
                                "\": a name has no \"=\", \"[\" or \"]\" and no control characters, is not "
                                "blank and not longer than 251 bytes");
    }
    const std::string path = platform::appendingPathComponent(folder(), fileName);
    const bool isNamed =
        std::ranges::any_of(list(), [&](const auto& project) { return project->projectName() == name; });
    if (isNamed || itemExistsAtPath(path) ||
        itemExistsAtPath(platform::appendingPathExtension(path, "plg"))) {
        throw SettingsError(SettingsError::Code::failed,
                            "there is a project or file named " + name + " already; choose another name");
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
    requireOwnFolder(*project);
    const FilesOfProject former(*project);
    project->writeProjectInformation();
    if (!isWrittenAs(*project)) {
        former.putBack();
        failToWrite(*project);
    }
    handOver(ProjectList(list()));
}

void ProjectStore::writeScanSettings(const std::shared_ptr<TrProjectInformation>& project) {
    const FilesOfProject former(*project);
    const auto onlySettings = project->copyProjectInformation();
    onlySettings->setProjectFilePath(std::nullopt);
    onlySettings->writeProjectInformation();
    if (!isWrittenAs(*project)) {
        former.putBack();
        failToWrite(*project);
    }
    handOver(ProjectList(list()));
}

void ProjectStore::remove(const std::shared_ptr<TrProjectInformation>& project) {
    requireOwnFolder(*project);
    ProjectList projects = list();
    std::erase(projects, project);
    // The manager deletes by name; without one, no other project of the same name keeps this one's files.
    project->setProjectName(std::nullopt);
    handOver(projects);
    if (itemExistsAtPath(*project->projectFilePath())) {
        throw SettingsError(SettingsError::Code::failed,
                            *project->projectFilePath() + " could not be removed; may you not write there?");
    }
    const std::string ownFolder = platform::deletingPathExtension(*project->projectFilePath());
    if (itemExistsAtPath(ownFolder)) {
        throw SettingsError(SettingsError::Code::failed,
                            "the project is deleted, but its folder " + ownFolder +
                                " could not be removed whole; may you not write there?");
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
    for (const auto& model : modelsWithBindings()) {
        for (const auto& [eventID, project] : isListOfModel(model) ? bindingsOf(model) : Dictionary()) {
            if (project.text() != nullptr && *project.text() == projectID) {
                users.push_back("event " + eventID + (model ? " of model " + *model : std::string()));
            }
        }
    }
    return users;
}

bool ProjectStore::isListOfModel(const std::optional<std::string>& model) const {
    const auto driver = model ? driverOfModel(*model) : nullptr;
    return TrFilePathUtility::sharedFilePathUtility()->customProjectPathWithScannerDriver(driver) == folder();
}

std::vector<std::string> ProjectStore::damagedUserFiles() const {
    if (isOfFolders_) {
        return damagedWatchedFolderFiles();
    }
    std::vector<std::string> damaged;
    for (const auto& model : modelsWithBindings()) {
        const auto ofModel = isListOfModel(model) ? damagedBindingFiles(model) : std::vector<std::string>();
        damaged.insert(damaged.end(), ofModel.begin(), ofModel.end());
    }
    return damaged;
}

std::vector<std::string> ProjectStore::foreignFilesOf(const TrProjectInformation& project) {
    const std::string folder = platform::deletingPathExtension(project.projectFilePath().value_or(""));
    std::vector<std::string> names = exDirectoryContentsAtPath(folder).value_or(std::vector<std::string>());
    std::erase_if(names, belongsToAProject);
    return names;
}

} // namespace trigora::tools
