// Running a project: the one running flag, what the runner is given, and what the scanning side is told.

#include "files/NotificationNames.h"
#include "platform/Text.h"
#include "projects/manager/TrProjectManager.h"
#include "runners/launch/ConfirmationRequest.h"

#include "agent/log/PSlog.h"
#include "catalogue/actions/TrActionInformation.h"
#include "catalogue/drivers/TrScannerDriverInformation.h"
#include "files/InstalledPaths.h"
#include "platform/Desktop.h"
#include "platform/DistributedNotifications.h"
#include "projects/information/ScanToEmailFolder.h"
#include "projects/information/TrProjectInformation.h"
#include "projects/manager/ActionRunnerChoice.h"
#include "projects/manager/ProjectRunning.h"
#include "runners/actions/RunnerInputs.h"
#include "runners/actions/TgaActionRunner.h"
#include "runners/actions/TgaActionRunnerManager.h"
#include "runners/launch/TrLaunchApplicationManager.h"

namespace trigora {

namespace {

constexpr const char* runProjectName = "-[TrProjectManager runProject:withDriver:eventID:ipAddress:]";

constexpr std::int16_t alreadyRunning = -1;
constexpr std::int16_t noRunner = -2;

using RunnerPointer = std::shared_ptr<TgaActionRunner>;

// What a runner is given.

void putIfPresent(Dictionary& dictionary, const char* key, const std::optional<std::string>& text) {
    if (text) {
        dictionary[key] = *text;
    }
}

int passParameter(const std::optional<std::string>& actionOption) {
    if (actionOption == "0x0001") {
        return 0;
    }
    return actionOption == "0x0002" ? 1 : -1;
}

std::optional<std::string> nextAssistantPath(const std::optional<std::string>& applicationPath,
                                             const std::optional<std::string>& driverName) {
    constexpr std::size_t modelIDBufferSize = 256;
    if (applicationPath && applicationPath->ends_with("PELOX Scan.app") &&
        platform::isKnownDriver(driverName, modelIDBufferSize)) {
        return paths::newerScanApplication();
    }
    return applicationPath;
}

Dictionary scanAssistantData(const TrProjectInformation& project, const std::optional<std::string>& eventID,
                             const std::optional<std::string>& driverName) {
    const TrActionInformation none;
    const auto& given = project.actionInformation();
    const TrActionInformation& action = given ? *given : none;

    Dictionary data{
        {"ResponderSignature", platform::leadingFourCharCode(action.actionFilePath().value_or(""))},
        {"NextAssistCreator", 0},
        {"ProjectType", 1},
        {"PassParameter", passParameter(action.option())},
    };
    putIfPresent(data, "EventID", eventID);
    putIfPresent(data, "ActionID", action.actionID());
    putIfPresent(data, "ProjectID", project.projectID());
    putIfPresent(data, "driverName", driverName);
    putIfPresent(data, "NextAssistantPath", nextAssistantPath(action.applicationPath(), driverName));
    putIfPresent(data, "ProjectPLGPath", project.projectFilePath());
    putIfPresent(data, "ScanSettingPath", project.scanSettingsFilePath());
    return data;
}

Dictionary eventManagerData(const std::optional<std::string>& eventID,
                            const std::optional<std::string>& driverName) {
    Dictionary data{{"FileFormat", 0}, {"V_ScanSize", 0}, {"H_ScanSize", 0}, {"ExtendParam", 0}};
    putIfPresent(data, "EventID", eventID);
    putIfPresent(data, "DriverName", driverName);
    return data;
}

/// The runner as something that takes an input, or null when it does not take it.
template <typename Input> Input* taking(const RunnerPointer& runner) {
    return dynamic_cast<Input*>(runner.get());
}

std::optional<std::string> nameOf(const std::shared_ptr<TrScannerDriverInformation>& driver) {
    return driver ? driver->driverName() : std::nullopt;
}

// What the scanning side is told.

void postScannerConfirmed(const std::shared_ptr<TrScannerDriverInformation>& driver,
                          const std::optional<std::string>& ipAddress) {
    PSlog("%s [Line %d] postNotificationName Trc_ReplyScannerConfirmation_DistributedNotification",
          runProjectName, __LINE__);
    postConfirmationRequest(nameOf(driver), ipAddress, true);
}

void postScanNow(const TrProjectInformation& project,
                 const std::shared_ptr<TrScannerDriverInformation>& driver) {
    platform::shared<ScanToEmailFolder>()->willBeScannedInto(
        project.folderPathFromScanSettings().value_or(""));
    Dictionary userInfo{{"ScanSettings", project.scanSettings()}};
    if (driver) {
        userInfo["DeviceInfo"] = driver->deviceInfo();
    }
    PSlog("%s [Line %d] postNotificationName Trc_ReplyScan_DistributedNotification", runProjectName,
          __LINE__);
    platform::current().notifications.post(notifications::replyScan, userInfo, true);
}

} // namespace

std::int32_t TrProjectManager::runProject(const std::shared_ptr<TrProjectInformation>& project,
                                          const std::shared_ptr<TrScannerDriverInformation>& driver,
                                          const std::optional<std::string>& eventID,
                                          const std::optional<std::string>& ipAddress) {
    PSlog("%s Enter [Line %d] ", runProjectName, __LINE__);
    const bool isStarted = platform::shared<ProjectRunning>()->begin();
    const std::int16_t result =
        isStarted ? PMRA_StartProject(project, driver, eventID, ipAddress) : alreadyRunning;

    const auto launcher = TrLaunchApplicationManager::sharedLaunchApplicationManager();
    if (result == alreadyRunning) {
        // Not only refused: whatever hangs is ended too, so that the next event can start afresh.
        launcher->terminateScanAssistant();
    }
    if (result != 0 || !launcher->isLaunchScanAssistant()) {
        // Without a scan assistant at work nobody would come to clear the flag.
        setRunningProjectStatus(false);
    }
    PSlog("%s Leave [Line %d] retVal_OSErr = %d", runProjectName, __LINE__, result);
    return 0;
}

std::int16_t TrProjectManager::PMRA_StartProject(const std::shared_ptr<TrProjectInformation>& project,
                                                 const std::shared_ptr<TrScannerDriverInformation>& driver,
                                                 const std::optional<std::string>& eventID,
                                                 const std::optional<std::string>& ipAddress) {
    const auto runner = PMRA_CreateActionRunner(driver, project, eventID, ipAddress);
    if (runner) {
        TgaActionRunnerManager::sharedActionRunnerManager()->setCurrentActionRunner(runner);
    }
    if (project && project->isScanAble()) {
        postScanNow(*project, driver); // scans even when nothing is to follow
        return 0;
    }
    if (!runner) {
        return noRunner;
    }
    postScannerConfirmed(driver, ipAddress);
    return 0;
}

bool TrProjectManager::isProjectRunning() { return platform::shared<ProjectRunning>()->isRunning(); }

void TrProjectManager::setRunningProjectStatus(bool isRunning) {
    platform::shared<ProjectRunning>()->set(isRunning);
}

std::shared_ptr<TgaActionRunner>
TrProjectManager::PMRA_CreateActionRunner(const std::shared_ptr<TrScannerDriverInformation>& driver,
                                          const std::shared_ptr<TrProjectInformation>& project,
                                          const std::optional<std::string>& eventID,
                                          const std::optional<std::string>& ipAddress) {
    RunnerPointer runner = project ? actionRunnerChoice(*project).make() : nullptr;
    if (!runner) {
        return nullptr;
    }
    if (auto* input = taking<ScanAssistantDataInput>(runner)) {
        input->setScanAssistantData(scanAssistantData(*project, eventID, nameOf(driver)));
    }
    if (auto* input = taking<EventManagerDataInput>(runner)) {
        input->setEventManagerData(eventManagerData(eventID, nameOf(driver)));
    }
    if (auto* input = taking<DriverVersionInput>(runner)) {
        input->setDriverVersion(driver ? driver->version() : std::nullopt);
    }
    if (auto* input = taking<ProjectIDInput>(runner)) {
        input->setProjectID(project->projectID());
    }
    if (auto* input = taking<DriverNameInput>(runner)) {
        input->setDriverName(nameOf(driver));
    }
    if (auto* input = taking<IPAddressInput>(runner)) {
        input->setIPAddress(ipAddress);
    }
    runner->setAction(project->actionInformation());
    return runner;
}

} // namespace trigora
