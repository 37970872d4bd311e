#include "monitor/TgaSurveillant.h"

#include "agent/log/Guarded.h"
#include "catalogue/actions/TrActionInformation.h"
#include "catalogue/events/TrMonitorEventInformation.h"
#include "files/FileManagerExtension.h"
#include "platform/Platform.h"
#include "platform/Text.h"
#include "platform/Workspace.h"
#include "projects/information/TrProjectInformation.h"
#include "projects/manager/TrProjectManager.h"

#include <algorithm>
#include <iterator>

namespace trigora {

namespace {

constexpr const char* finder = "Finder";
constexpr const char* openFolderOption = "folder";

/// The action of the folder project that the event is bound to; null when there is none.
std::shared_ptr<TrActionInformation> actionBoundTo(TrMonitorEventInformation& monitorEvent) {
    const std::optional<std::string> projectID = monitorEvent.connectedProjectID(nullptr);
    const auto projectManager = TrProjectManager::sharedProjectManager();
    const auto project =
        projectID ? projectManager->folderProjectInformationWithProjectID(*projectID) : nullptr;
    return project ? project->actionInformation() : nullptr;
}

/// Both lists are in ascending order, so that even a very full folder is compared in one pass.
std::vector<std::string> namesOnlyIn(const std::vector<std::string>& listing,
                                     const std::vector<std::string>& snapshot) {
    std::vector<std::string> names;
    std::set_difference(listing.begin(), listing.end(), snapshot.begin(), snapshot.end(),
                        std::back_inserter(names));
    return names;
}

} // namespace

TgaSurveillant::~TgaSurveillant() { invalidateMonitorFolder(); }

bool TgaSurveillant::setupMonitorSettings(const std::shared_ptr<TrMonitorEventInformation>& monitorEvent) {
    const std::optional<Value>& interval = monitorEvent->timeInterval();
    const std::int64_t seconds = interval ? platform::integerOf(*interval).value_or(0) : 0;
    const std::optional<std::string>& folder = monitorEvent->monitorFolderPath();
    if (!folder || seconds < 1 || !itemExistsAtPath(*folder)) {
        return false;
    }
    const auto action = actionBoundTo(*monitorEvent);
    const std::optional<std::string> application = action ? action->applicationPath() : std::nullopt;
    if (!application || !itemExistsAtPath(*application)) {
        return false;
    }
    const bool isFinder =
        platform::deletingPathExtension(platform::lastPathComponent(*application)) == finder;
    bool_IsOptionFolder = isFinder || action->option() == openFolderOption;
    string_LaunchApplicationPath = isFinder ? finder : *application;
    string_MonitorPath = *folder;
    array_FolderContents = exDirectoryContentsAtPath(string_MonitorPath).value_or(std::vector<std::string>{});
    invalidateMonitorFolder(); // the watch of an earlier set-up
    timer_Monitor = platform::current().runLoop.addRepeatingTimer(static_cast<double>(seconds), [this] {
        guarded("-[TgaSurveillant SU_CheckMonitorFolder:]", [this] { SU_CheckMonitorFolder(); });
    });
    return true;
}

void TgaSurveillant::invalidateMonitorFolder() {
    if (timer_Monitor != 0) {
        platform::current().runLoop.cancelTimer(timer_Monitor);
        timer_Monitor = 0;
    }
    openings_.clear();
}

void TgaSurveillant::SU_CheckMonitorFolder() {
    // A folder that cannot be listed counts as empty: when it comes back, everything in it is new.
    std::vector<std::string> listing =
        exDirectoryContentsAtPath(string_MonitorPath).value_or(std::vector<std::string>{});
    const std::vector<std::string> newNames = namesOnlyIn(listing, array_FolderContents);
    array_FolderContents = std::move(listing);
    openItems(newNames);
}

void TgaSurveillant::openItems(const std::vector<std::string>& names) {
    if (bool_IsOptionFolder) {
        if (!names.empty()) {
            platform::current().workspace.openFile(string_MonitorPath, string_LaunchApplicationPath);
        }
        return;
    }
    std::vector<std::string> paths;
    std::ranges::transform(names, std::back_inserter(paths), [this](const std::string& name) {
        return platform::appendingPathComponent(string_MonitorPath, name);
    });
    openings_.add(paths, string_LaunchApplicationPath);
}

} // namespace trigora
