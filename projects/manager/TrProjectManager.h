#pragma once

#include "platform/Platform.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace trigora {

namespace platform {
struct Image;
}

class TgaActionRunner;
class TrEventInformation;
class TrProjectInformation;
class TrScannerDriverInformation;

using ProjectList = std::vector<std::shared_ptr<TrProjectInformation>>;

/// One line of a menu of projects.
struct ProjectMenuItem {
    std::string title;
    std::optional<std::int32_t> tag;               ///< 0 on the no-action item; projects have none
    std::shared_ptr<const platform::Image> image;  ///< null when not wanted, missing or unreadable
    std::shared_ptr<TrProjectInformation> project; ///< null on the no-action item
};
using ProjectMenu = std::vector<ProjectMenuItem>;

/// Owns all projects: the predefined ones installed with the application, the user's own for each scanner
/// driver, and those of the watched folders; and runs one of them at a time.
///
/// The predefined and the folder projects are read when the manager is made, a driver's own when they are
/// first asked for; the scan project list is put together for one driver at a time by
/// `setScanProjectListWithScannerDriver`, which comes before every look-up by ID. Dropping the shared
/// manager has everything read afresh. Main thread only, except for the running flag.
class TrProjectManager {
public:
    static std::shared_ptr<TrProjectManager> sharedProjectManager() {
        return platform::shared<TrProjectManager>();
    }
    static void releaseSharedManager() { platform::releaseShared<TrProjectManager>(); }

    TrProjectManager();
    TrProjectManager(const TrProjectManager&) = delete;
    TrProjectManager& operator=(const TrProjectManager&) = delete;

    // Lists, sorted by ID where not said otherwise.

    const ProjectList& predefinedProjectList() const { return predefinedProjectList_; }
    /// Predefined projects, then the driver's own, then perhaps the no-action project.
    const ProjectList& scanProjectList() const { return scanProjectList_; }
    /// As listed on disk until it is set.
    const ProjectList& monitorProjectList() const { return monitorProjectList_; }
    /// Read when first asked for; a driver without a folder yet gets one first.
    const ProjectList&
    customProjectListWithScannerDriver(const std::shared_ptr<TrScannerDriverInformation>& driver);
    /// Deletes the files of the projects that the new list no longer names, and tells the other programs.
    void setCustomProjectList(const ProjectList& list,
                              const std::shared_ptr<TrScannerDriverInformation>& driver);
    void setScanProjectListWithScannerDriver(const std::shared_ptr<TrScannerDriverInformation>& driver);
    /// Deletes the files of the projects that the new list no longer names, and tells the other programs.
    void setMonitorProjectList(const ProjectList& list);

    /// The first project of the scan project list with that ID, or null.
    std::shared_ptr<TrProjectInformation> projectInformationWithProjectID(const std::string& projectID) const;
    /// The same for the folder projects.
    std::shared_ptr<TrProjectInformation>
    folderProjectInformationWithProjectID(const std::string& projectID) const;

    /// Whether the driver (null: any) can do what the project needs.
    static bool isAvailableProject(const std::shared_ptr<TrProjectInformation>& project,
                                   const std::shared_ptr<TrScannerDriverInformation>& scannerInfo);
    /// The same for the current driver.
    static bool isAvailableProject(const std::shared_ptr<TrProjectInformation>& project);
    /// Whether the newer scanning application serves the driver.
    static bool isPeloxScan2(const std::optional<std::string>& driverName);

    /// Makes the folder for the driver's own projects, with those that come with the device.
    void setupDefaultProjectFolder(const std::shared_ptr<TrScannerDriverInformation>& driver);
    /// Writes the users' own projects and the folder projects, never the predefined ones.
    void saveProjectInformation() const;

    // Menus; none when one would have no items.

    std::optional<ProjectMenu> scanProjectMenuWithEvent(const std::shared_ptr<TrEventInformation>& event);
    std::optional<ProjectMenu> folderProjectMenuWithEvent(const std::shared_ptr<TrEventInformation>& event);
    std::optional<ProjectMenu>
    customScanProjectMenuWithScannerDriver(const std::shared_ptr<TrScannerDriverInformation>& driver);
    std::optional<ProjectMenu> customFolderProjectMenu();

    // Running a project.

    /// Starts the project unless one is running. Always 0: how it went is in the log and the flag.
    std::int32_t runProject(const std::shared_ptr<TrProjectInformation>& project,
                            const std::shared_ptr<TrScannerDriverInformation>& driver,
                            const std::optional<std::string>& eventID,
                            const std::optional<std::string>& ipAddress);

    // The one running flag. It needs no manager, whose making reads every project. Any thread.

    static bool isProjectRunning();
    static void setRunningProjectStatus(bool isRunning);

private:
    void PM_ReadPredefinedProjectFile();
    void PM_ReadMonitorFolderProject();
    /// Keeps the projects of the folder under its path.
    void PM_ReadCustomProjectFile(const std::string& folder);
    static void PM_ConvertPredefinedProjectName(const std::string& folder);
    static void PM_DeleteProjectFile(const ProjectList& oldList, const ProjectList& existenceList);
    static bool PM_ProjectIDSort(const std::shared_ptr<TrProjectInformation>& left,
                                 const std::shared_ptr<TrProjectInformation>& right);
    static void sortByID(ProjectList& list);
    /// The project that stands for doing nothing; made on first use.
    const std::shared_ptr<TrProjectInformation>& noActionProject();
    static std::string noActionTitle();

    static ProjectList PM_SupportProject(const ProjectList& list,
                                         const std::shared_ptr<TrEventInformation>& eventInformation);
    static ProjectList PM_FilterRunableProject(const ProjectList& list);
    std::optional<ProjectMenu> PM_ProjectMenuWithProjectList(const ProjectList& list, bool isContainNoAction,
                                                             bool isShowImage, bool isAddDescription);

    /// Makes the runner the current one and tells the scanning side to scan, or that the scanner is
    /// confirmed. 0, or -2 when there is no runner for a project that does not scan.
    static std::int16_t PMRA_StartProject(const std::shared_ptr<TrProjectInformation>& project,
                                          const std::shared_ptr<TrScannerDriverInformation>& driver,
                                          const std::optional<std::string>& eventID,
                                          const std::optional<std::string>& ipAddress);
    /// The runner for what follows the scan, with what it needs to know; null when there is none.
    static std::shared_ptr<TgaActionRunner>
    PMRA_CreateActionRunner(const std::shared_ptr<TrScannerDriverInformation>& driver,
                            const std::shared_ptr<TrProjectInformation>& project,
                            const std::optional<std::string>& eventID,
                            const std::optional<std::string>& ipAddress);

    ProjectList predefinedProjectList_;
    std::map<std::string, ProjectList>
        customProjectLists_; ///< by the folder that the driver's projects are in
    ProjectList scanProjectList_;
    ProjectList monitorProjectList_;
    std::shared_ptr<TrProjectInformation> noActionProject_; ///< null until it is first used
};

} // namespace trigora
