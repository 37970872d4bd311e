// From the scanner driver's button event to the run of a project.

#include "agent/service/TgaServiceManager.h"
#include "runners/launch/ConfirmationRequest.h"

#include "agent/event/ScanEventRecord.h"
#include "agent/log/Guarded.h"
#include "agent/log/PSlog.h"
#include "agent/service/DeviceTable.h"
#include "agent/service/ScanEventMapping.h"
#include "agent/service/ScanEventProject.h"
#include "catalogue/drivers/TrScannerDriverInformation.h"
#include "catalogue/events/TrEventManager.h"
#include "platform/Clock.h"
#include "platform/Desktop.h"
#include "platform/Platform.h"
#include "platform/Text.h"
#include "projects/information/TrProjectInformation.h"
#include "projects/manager/TrProjectManager.h"
#include "runners/actions/TgaActionRunner.h"
#include "runners/actions/TgaActionRunnerManager.h"
#include "runners/launch/TrLaunchApplicationManager.h"

namespace trigora {

namespace {

void showNotSupportedEvent() {
    platform::StringTable& texts = platform::current().stringTable;
    platform::current().alertPanel.run(texts.localizedString("Message.Title"),
                                       texts.localizedString("Message.Error.NotSupportedEvent"),
                                       texts.localizedString("Message.Button.OK"));
}

} // namespace

void TgaServiceManager::SM_HandleScanEvent(const platform::AppleEvent& event, platform::AppleEvent&) {
    constexpr const char* name = "-[TgaServiceManager SM_HandleScanEvent:withReplyEvent:]";
    PSlog("%s Enter [Line %d] ", name, __LINE__);
    const platform::AppleEventParameter* record = event.parameter(platform::keyDirectObject);
    const std::optional<ScanEvent> scanEvent = record ? decodeScanEvent(record->bytes) : std::nullopt;
    if (!scanEvent) {
        return;
    }
    endRunOfDeadScanAssistant();
    Dictionary current = currentEventOf(*scanEvent);
    if (const auto address = addressOfDriver(platform::textAt(current, "driverName"))) {
        current["IPAddress"] = *address;
    }
    setCurrentEvent(current);
    TrLaunchApplicationManager::sharedLaunchApplicationManager()->launchScanAssistantWithWait();
    PSlog("%s Leave [Line %d] ", name, __LINE__);
    waitingPress_ = WaitingPress{current, platform::current().clock.monotonicSeconds()};
    askScanAssistant();
}

void TgaServiceManager::requestConfirmation(const Dictionary& event) {
    postConfirmationRequest(platform::textAt(event, "driverName"), platform::textAt(event, "IPAddress"),
                            true);
}

std::optional<std::string>
TgaServiceManager::addressOfDriver(const std::optional<std::string>& driverName) const {
    return localAddressOfVersion(SM_PeloxScanSettingVersion(driverName));
}

std::int32_t
TgaServiceManager::SM_PeloxScanSettingVersion(const std::optional<std::string>& driverName) const {
    return scanSettingsVersion(driverName).version;
}

void TgaServiceManager::SM_ScannerConfirmationDidFinish(const platform::Notification& notification) {
    constexpr const char* name = "-[TgaServiceManager SM_ScannerConfirmationDidFinish:]";
    PSlog("%s Enter [Line %d] ", name, __LINE__);
    const Dictionary event = currentEvent();
    const Dictionary userInfo = notification.userInfo.value_or(Dictionary{});
    const std::int64_t result = platform::integerAt(userInfo, "ScannerConfirmResult").value_or(-1);
    PSlog("%s [Line %d] result_Int = %d", name, __LINE__, result);
    bool isFailed = result != 0;
    const auto runnerManager = TgaActionRunnerManager::sharedActionRunnerManager();
    if (const auto runner = runnerManager->currentActionRunner()) {
        PSlog("%s [Line %d] executeAction", name, __LINE__);
        if (result == 0) {
            isFailed = !guarded(name, [&] { runner->performAction(); });
        }
        runnerManager->setCurrentActionRunner(nullptr);
        TrProjectManager::setRunningProjectStatus(false);
    } else if (result == 0) {
        PSlog("%s [Line %d] confirmAction", name, __LINE__);
        isFailed = true;
        guarded(name, [&] { isFailed = !confirmAction(userInfo); });
        if (isFailed) {
            PSlog("%s [Line %d] SM_CheckEventInfo fails", name, __LINE__);
        }
    }
    if (isFailed) {
        PSlog("%s [Line %d] receiveError", name, __LINE__);
        TrLaunchApplicationManager::sharedLaunchApplicationManager()->terminateScanAssistant();
        postScanEventDidFinish();
    }
    PSlog("%s Leave [Line %d] ", name, __LINE__);
    forgetCurrentEvent(event);
    waitingPress_.reset();
    stopWaitingForScanAssistant();
}

bool TgaServiceManager::confirmAction(const Dictionary& userInfo) {
    const std::optional<std::string> driverName = platform::textAt(currentEvent(), "driverName");
    std::optional<Dictionary> deviceInfo;
    if (const auto updated = platform::dictionaryAt(userInfo, "UpdatedDeviceInfo"); updated && driverName) {
        deviceInfo = platform::dictionaryAt(*updated, *driverName);
    }
    return SM_CheckEventInfo(deviceInfo, platform::textAt(userInfo, "ScannerVersion"));
}

bool TgaServiceManager::SM_CheckEventInfo(const std::optional<Dictionary>& deviceInfo,
                                          const std::optional<std::string>& scannerVersion) {
    constexpr const char* name = "-[TgaServiceManager SM_CheckEventInfo:scannerVersion:]";
    PSlog("%s [Line %d] ", name, __LINE__);
    const std::optional<std::string> driverName = platform::textAt(currentEvent(), "driverName");
    PSlog("%s [Line %d] driverName_String = %@", name, __LINE__, driverName);
    if (!driverName) {
        return false;
    }
    const std::int32_t eventID = SM_MappingEventIDWithDevInfo(deviceInfo, modelIDOfDevice(deviceInfo));
    bool isEventAction = false;
    if (isRefusedEvent(eventID)) {
        showNotSupportedEvent();
    } else {
        isEventAction = SM_EventAction(std::to_string(eventID), deviceInfo, scannerVersion);
    }
    PSlog("%s Leave [Line %d] ", name, __LINE__);
    return isEventAction;
}

std::int32_t TgaServiceManager::SM_FeatureBitOfModelID(const std::optional<std::string>& modelID) const {
    return featureBitsOfModel(modelID);
}

std::int32_t TgaServiceManager::SM_MappingEventIDWithDevInfo(const std::optional<Dictionary>&,
                                                             const std::string& modelID) const {
    return mapScanEvent(currentEvent(), modelID, SM_FeatureBitOfModelID(modelID), array_DeviceInfoList)
        .eventID;
}

bool TgaServiceManager::SM_EventAction(const std::string& eventID,
                                       const std::optional<Dictionary>& deviceInfo,
                                       const std::optional<std::string>& scannerVersion) {
    constexpr const char* name = "-[TgaServiceManager SM_EventAction:deviceInfo:scannerVersion:]";
    PSlog("%s Enter [Line %d] ", name, __LINE__);
    const Dictionary event = currentEvent();
    const std::optional<std::string> driverName = platform::textAt(event, "driverName");
    if (!driverName) {
        PSlog("%s [Line %d] driverName_String = %@", name, __LINE__, driverName);
        return false;
    }
    const auto driver = driverOfScanEvent(*driverName, deviceInfo, scannerVersion);
    TrEventManager::sharedEventManager()->setScanEventPathWithModelID(driver->hexadecimalModelID());
    if (driver->driverType() == TrScannerDriverInformation::typeWithJobButtons) {
        static_cast<void>(driver->numberOfButton()); // asked for, although nobody uses the answer
    }
    const ScanEventProject found = projectOfScanEvent(eventID, driver);
    const bool isEventAction = found.outcome == ScanEventProject::Outcome::runs;
    if (isEventAction) {
        const auto& project = found.project;
        const std::optional<std::string> address = platform::textAt(event, "IPAddress");
        project->setExtFeatureBitAtScanSettings(static_cast<std::uint32_t>(eventStatusOf(event)));
        project->setDriverNameAtScanSettings(*driverName);
        project->setIPAddressAtScanSettings(address);
        project->setProjectID(project->projectID()); // puts the ID into the scan settings again
        watchScanAssistant();                        // before it is asked to scan, which may be the end of it
        TrProjectManager::sharedProjectManager()->runProject(project, driver, eventID, address);
    }
    PSlog("%s Leave [Line %d] isEventAction_BOOL = %d", name, __LINE__, isEventAction);
    return isEventAction;
}

void TgaServiceManager::SM_ReadDevInfFile() {
    if (auto deviceTable = readDeviceTable()) {
        array_DeviceInfoList = std::move(deviceTable);
    }
}

} // namespace trigora
