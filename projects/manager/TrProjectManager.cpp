#include "projects/manager/TrProjectManager.h"

#include "catalogue/drivers/TrScannerDriverInformation.h"
#include "catalogue/drivers/TrScannerDriverManager.h"
#include "files/FileManagerExtension.h"
#include "files/InstalledPaths.h"
#include "files/NotificationNames.h"
#include "files/ParsedFiles.h"
#include "files/PxDefParser.h"
#include "files/TrFilePathUtility.h"
#include "platform/Desktop.h"
#include "platform/DistributedNotifications.h"
#include "platform/Text.h"
#include "projects/information/ProjectFileName.h"
#include "projects/information/TrProjectInformation.h"
#include "projects/manager/DeviceProjects.h"

#include <algorithm>
#include <array>
#include <cstddef>

namespace trigora {

using platform::appendingPathComponent;
using platform::deletingPathExtension;

namespace {

constexpr std::size_t modelIDBufferSize = 257;

std::int32_t numberOf(const TrProjectInformation& project) {
    return platform::integerValue(project.projectID().value_or(""));
}

/// Null for a file that says neither what project it is nor of what type: it is damaged or no project, and
/// saving it would write over it.
std::shared_ptr<TrProjectInformation> readProject(const std::string& path) {
    const auto project = TrProjectInformation::initWithPath(path);
    return project->projectID() || project->type() ? project : nullptr;
}

std::vector<std::string> projectFilesInFolder(const std::string& folder) {
    return pathsWithExtension(folder, "plg");
}

ProjectList readProjectsInFolder(const std::string& folder) {
    ProjectList projects;
    for (const std::string& path : projectFilesInFolder(folder)) {
        if (auto project = readProject(path)) {
            projects.push_back(std::move(project));
        }
    }
    return projects;
}

std::shared_ptr<TrProjectInformation> firstWithID(const ProjectList& list, const std::string& projectID) {
    const auto found = std::find_if(list.begin(), list.end(),
                                    [&](const auto& project) { return project->projectID() == projectID; });
    return found == list.end() ? nullptr : *found;
}

bool containsName(const ProjectList& list, const std::optional<std::string>& name) {
    return std::any_of(list.begin(), list.end(),
                       [&](const auto& project) { return project->projectName() == name; });
}

/// Gives a project file and the folder beside it another name. Gives the project file's path afterwards,
/// which is the old one when the new name is taken or something cannot be moved: both move or neither.
std::string moveProject(const std::string& path, const std::string& newName) {
    const std::string folder = deletingPathExtension(path);
    const std::string newFolder =
        appendingPathComponent(platform::deletingLastPathComponent(path), projectFileName(newName));
    std::string newPath = platform::appendingPathExtension(newFolder, "plg");
    if (!exMovePath(folder, newFolder)) {
        return path;
    }
    if (!exMovePath(path, newPath)) {
        exMovePath(newFolder, folder);
        return path;
    }
    return newPath;
}

/// Makes a project that was copied or moved use the scan settings in its own folder.
void adoptOwnScanSettings(const std::string& path) {
    forgetParsedFiles(); // another project's may have been read under these names
    const auto project = readProject(path);
    if (!project) {
        return;
    }
    const std::string settingsPath = appendingPathComponent(
        deletingPathExtension(path), TrFilePathUtility::sharedFilePathUtility()->scanSettingsFileName());
    project->setScanSettingsPath(settingsPath);
    if (const auto settings = dictionaryWithContentsOfFile(settingsPath)) {
        project->setScanSettings(*settings);
    }
    project->writeProjectInformation();
}

} // namespace

TrProjectManager::TrProjectManager() {
    PM_ReadPredefinedProjectFile();
    PM_ReadMonitorFolderProject();
}

// Reading.

void TrProjectManager::PM_ReadPredefinedProjectFile() {
    for (auto& project : readProjectsInFolder(paths::predefinedProjectFolder())) {
        if (project->isRunableProject() && isAvailableProject(project)) {
            predefinedProjectList_.push_back(std::move(project));
        }
    }
    sortByID(predefinedProjectList_);
}

void TrProjectManager::PM_ReadMonitorFolderProject() {
    monitorProjectList_ =
        readProjectsInFolder(TrFilePathUtility::sharedFilePathUtility()->customFolderProjectFolderPath());
}

void TrProjectManager::PM_ReadCustomProjectFile(const std::string& folder) {
    ProjectList projects = readProjectsInFolder(folder);
    sortByID(projects);
    customProjectLists_[folder] = std::move(projects);
}

bool TrProjectManager::PM_ProjectIDSort(const std::shared_ptr<TrProjectInformation>& left,
                                        const std::shared_ptr<TrProjectInformation>& right) {
    return numberOf(*left) < numberOf(*right);
}

void TrProjectManager::sortByID(ProjectList& list) {
    std::stable_sort(list.begin(), list.end(), PM_ProjectIDSort);
}

// Lists.

const ProjectList& TrProjectManager::customProjectListWithScannerDriver(
    const std::shared_ptr<TrScannerDriverInformation>& driver) {
    const auto folder =
        TrFilePathUtility::sharedFilePathUtility()->customProjectPathWithScannerDriver(driver);
    if (!customProjectLists_.contains(folder)) {
        if (!itemExistsAtPath(folder)) {
            setupDefaultProjectFolder(driver);
        }
        PM_ReadCustomProjectFile(folder);
    }
    return customProjectLists_.at(folder);
}

void TrProjectManager::setCustomProjectList(const ProjectList& list,
                                            const std::shared_ptr<TrScannerDriverInformation>& driver) {
    const auto folder =
        TrFilePathUtility::sharedFilePathUtility()->customProjectPathWithScannerDriver(driver);
    ProjectList sorted = list;
    sortByID(sorted);
    ProjectList& stored = customProjectLists_[folder];
    PM_DeleteProjectFile(stored, sorted);
    stored = std::move(sorted);
    platform::current().notifications.post(notifications::scanSettingsDidChange, std::nullopt, false);
}

void TrProjectManager::setScanProjectListWithScannerDriver(
    const std::shared_ptr<TrScannerDriverInformation>& driver) {
    const ProjectList& custom = customProjectListWithScannerDriver(driver);
    scanProjectList_ = predefinedProjectList_;
    scanProjectList_.insert(scanProjectList_.end(), custom.begin(), custom.end());
    if (driver && driver->driverType() == TrScannerDriverInformation::typeWithJobButtons) {
        scanProjectList_.push_back(noActionProject());
    }
}

void TrProjectManager::setMonitorProjectList(const ProjectList& list) {
    ProjectList sorted = list;
    sortByID(sorted);
    PM_DeleteProjectFile(monitorProjectList_, sorted);
    monitorProjectList_ = std::move(sorted);
    platform::current().notifications.post(notifications::monitorFolderSettingsDidChange, std::nullopt,
                                           false);
}

// The names decide, not the IDs: of two projects with one name, dropping one deletes neither.
void TrProjectManager::PM_DeleteProjectFile(const ProjectList& oldList, const ProjectList& existenceList) {
    for (const auto& project : oldList) {
        const auto& path = project->projectFilePath();
        if (path && !containsName(existenceList, project->projectName())) {
            exRemoveItemAtPath(*path);
            exRemoveItemAtPath(deletingPathExtension(*path));
        }
    }
}

std::shared_ptr<TrProjectInformation>
TrProjectManager::projectInformationWithProjectID(const std::string& projectID) const {
    return firstWithID(scanProjectList_, projectID);
}

std::shared_ptr<TrProjectInformation>
TrProjectManager::folderProjectInformationWithProjectID(const std::string& projectID) const {
    return firstWithID(monitorProjectList_, projectID);
}

void TrProjectManager::saveProjectInformation() const {
    for (const auto& [folder, projects] : customProjectLists_) {
        for (const auto& project : projects) {
            project->writeProjectInformation();
        }
    }
    for (const auto& project : monitorProjectList_) {
        project->writeProjectInformation();
    }
}

const std::shared_ptr<TrProjectInformation>& TrProjectManager::noActionProject() {
    if (!noActionProject_) {
        noActionProject_ = std::make_shared<TrProjectInformation>();
        noActionProject_->setProjectID("000");
        noActionProject_->setProjectName(noActionTitle());
        noActionProject_->setType("0x0002");
        noActionProject_->setIconFilePath(paths::noActionProjectIcon());
    }
    return noActionProject_;
}

std::string TrProjectManager::noActionTitle() {
    return platform::current().stringTable.localizedString("Project.System.Default");
}

// What a driver can do.

bool TrProjectManager::isAvailableProject(const std::shared_ptr<TrProjectInformation>& project,
                                          const std::shared_ptr<TrScannerDriverInformation>& scannerInfo) {
    if (!scannerInfo || (!scannerInfo->isRunICAMode() && !isPeloxScan2(scannerInfo->driverName()))) {
        return true;
    }
    constexpr std::array unavailable{110, 520, 500};
    return std::find(unavailable.begin(), unavailable.end(), numberOf(*project)) == unavailable.end();
}

bool TrProjectManager::isAvailableProject(const std::shared_ptr<TrProjectInformation>& project) {
    return isAvailableProject(
        project, TrScannerDriverManager::sharedScannerDriverManager()->currentScannerDriverInformation());
}

bool TrProjectManager::isPeloxScan2(const std::optional<std::string>& driverName) {
    return platform::isKnownDriver(driverName, modelIDBufferSize);
}

// A driver's own folder.

void TrProjectManager::setupDefaultProjectFolder(const std::shared_ptr<TrScannerDriverInformation>& driver) {
    const auto paths = TrFilePathUtility::sharedFilePathUtility();
    const std::string folder = paths->customProjectPathWithScannerDriver(driver);
    if (!itemExistsAtPath(folder)) {
        paths->createFolderPath(folder);
    }
    if (const auto projects = driver ? deviceProjectFolder(*driver) : std::nullopt) {
        paths->copyFolderPath(*projects, folder);
        PM_ConvertPredefinedProjectName(folder);
    }
}

void TrProjectManager::PM_ConvertPredefinedProjectName(const std::string& folder) {
    // Files of these names may have been read before their folder was copied anew.
    forgetParsedFiles();
    const auto paths = TrFilePathUtility::sharedFilePathUtility();
    for (const std::string& path : projectFilesInFolder(folder)) {
        const std::string ownFolder = deletingPathExtension(path);
        const auto caption = itemExistsAtPath(ownFolder)
                                 ? PxDefParser::sharedDefParser()->valueWithFilePath(
                                       paths->stringDefaultPathWithEventFolder(ownFolder), "Caption")
                                 : std::nullopt;
        if (caption && !caption->empty()) {
            adoptOwnScanSettings(moveProject(path, *caption));
        }
    }
    forgetParsedFiles();
}

} // namespace trigora
