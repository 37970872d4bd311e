#include "catalogue/events/TrEventInformation.h"
#include "files/TrImageLoadManager.h"
#include "projects/information/TrProjectInformation.h"
#include "projects/manager/TrProjectManager.h"

#include <algorithm>
#include <iterator>

namespace trigora {

namespace {

std::shared_ptr<const platform::Image> iconOf(const TrProjectInformation& project) {
    const auto& path = project.iconFilePath();
    return path ? TrImageLoadManager::sharedImageLoadManager()->imageWithFilePath(*path) : nullptr;
}

} // namespace

std::optional<ProjectMenu>
TrProjectManager::scanProjectMenuWithEvent(const std::shared_ptr<TrEventInformation>& event) {
    const ProjectList projects = PM_SupportProject(scanProjectList_, event);
    return PM_ProjectMenuWithProjectList(projects, false, true, true);
}

std::optional<ProjectMenu>
TrProjectManager::folderProjectMenuWithEvent(const std::shared_ptr<TrEventInformation>& event) {
    const ProjectList projects = PM_FilterRunableProject(PM_SupportProject(monitorProjectList_, event));
    return PM_ProjectMenuWithProjectList(projects, true, true, true);
}

std::optional<ProjectMenu> TrProjectManager::customScanProjectMenuWithScannerDriver(
    const std::shared_ptr<TrScannerDriverInformation>& driver) {
    return PM_ProjectMenuWithProjectList(customProjectListWithScannerDriver(driver), false, false, false);
}

std::optional<ProjectMenu> TrProjectManager::customFolderProjectMenu() {
    return PM_ProjectMenuWithProjectList(monitorProjectList_, false, false, false);
}

ProjectList TrProjectManager::PM_SupportProject(const ProjectList& list,
                                                const std::shared_ptr<TrEventInformation>& eventInformation) {
    ProjectList supported;
    if (eventInformation) {
        std::copy_if(list.begin(), list.end(), std::back_inserter(supported), [&](const auto& project) {
            return eventInformation->isSupportProjectID(project->projectID().value_or("")) &&
                   eventInformation->isSupportProjectType(project->type().value_or("")) &&
                   isAvailableProject(project);
        });
    }
    return supported;
}

ProjectList TrProjectManager::PM_FilterRunableProject(const ProjectList& list) {
    ProjectList runable;
    std::copy_if(list.begin(), list.end(), std::back_inserter(runable),
                 [](const auto& project) { return project->isRunableProject(); });
    return runable;
}

std::optional<ProjectMenu> TrProjectManager::PM_ProjectMenuWithProjectList(const ProjectList& list,
                                                                           bool isContainNoAction,
                                                                           bool isShowImage,
                                                                           bool isAddDescription) {
    const auto imageOf = [isShowImage](const TrProjectInformation& project) {
        return isShowImage ? iconOf(project) : nullptr;
    };
    ProjectMenu menu;
    if (isContainNoAction) {
        menu.push_back({noActionTitle(), 0, imageOf(*noActionProject()), nullptr});
    }
    for (const auto& project : list) {
        const auto title = isAddDescription ? project->menuTitle() : project->projectName();
        if (title && !title->empty()) {
            menu.push_back({*title, std::nullopt, imageOf(*project), project});
        }
    }
    return menu.empty() ? std::nullopt : std::optional(std::move(menu));
}

} // namespace trigora
