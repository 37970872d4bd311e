// From the scanner driver's button event to the run of a project.

#include "agent/service/TgaServiceManager.h"

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

/// What an answer tells of the scanner that a press came from; none when it tells nothing.
std::optional<Dictionary> deviceInfoOf(const ScanPress& press, const Dictionary& userInfo) {
    const auto devices = platform::dictionaryAt(userInfo, "UpdatedDeviceInfo");
    const auto driverName = platform::textAt(press.event, "driverName");
    return devices && driverName ? platform::dictionaryAt(*devices, *driverName) : std::nullopt;
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
    const ScanSettingsVersion version = SM_PeloxScanSettingVersion(platform::textAt(current, "driverName"));
    if (const auto address = localAddressOfVersion(version.version)) {
        current["IPAddress"] = *address;
    }
    const ScanPress press = setCurrentEvent(std::move(current));
    TrLaunchApplicationManager::sharedLaunchApplicationManager()->launchScanAssistantWithWait();
    PSlog("%s Leave [Line %d] ", name, __LINE__);
    waitingPress_ = WaitingPress{press, platform::current().clock.monotonicSeconds(), {}};
    askScanAssistant();
}

void TgaServiceManager::SM_ScannerConfirmationDidFinish(const platform::Notification& notification) {
    constexpr const char* name = "-[TgaServiceManager SM_ScannerConfirmationDidFinish:]";
    PSlog("%s Enter [Line %d] ", name, __LINE__);
    const ScanPress press = currentPress();
    const Dictionary userInfo = notification.userInfo.value_or(Dictionary{});
    const std::int64_t result = platform::integerAt(userInfo, "ScannerConfirmResult").value_or(-1);
    PSlog("%s [Line %d] result_Int = %d", name, __LINE__, result);
    using Answered = UnansweredRequests::Answered;
    switch (unanswered_.answered(press, deviceInfoOf(press, userInfo).has_value(), currentRun())) {
    case Answered::nothing:
        PSlog("%s Leave [Line %d] nothing waits for it", name, __LINE__);
        return;
    case Answered::pressDuringScan:
        PSlog("%s Leave [Line %d] a project is running", name, __LINE__);
        waitingPress_->assistant.reset(); // it quits after the scan; another one is for this press
        return;
    case Answered::run:
        if (const auto runner = TgaActionRunnerManager::sharedActionRunnerManager()->currentActionRunner()) {
            executeAction(*runner, result);
            break;
        }
        [[fallthrough]];
    case Answered::press:
        confirmPress(press, userInfo, result);
        break;
    }
    PSlog("%s Leave [Line %d] ", name, __LINE__);
}

void TgaServiceManager::executeAction(TgaActionRunner& runner, std::int64_t result) {
    constexpr const char* name = "-[TgaServiceManager SM_ScannerConfirmationDidFinish:]";
    PSlog("%s [Line %d] executeAction", name, __LINE__);
    const bool isPerformed = result == 0 && guarded(name, [&] { runner.performAction(); });
    TgaActionRunnerManager::sharedActionRunnerManager()->setCurrentActionRunner(nullptr);
    TrProjectManager::setRunningProjectStatus(false);
    if (!isPerformed) {
        receiveError();
    }
    assistantWatch_.lookSoon(); // a press may wait for this end
}

void TgaServiceManager::confirmPress(const ScanPress& press, const Dictionary& userInfo,
                                     std::int64_t result) {
    constexpr const char* name = "-[TgaServiceManager SM_ScannerConfirmationDidFinish:]";
    const auto isWaiting = [&] { return waitingPress_ && waitingPress_->press.serial == press.serial; };
    if (result == 0 && isWaiting() && waitingPress_->assistant &&
        !TrLaunchApplicationManager::sharedLaunchApplicationManager()->isLaunchScanAssistant()) {
        PSlog("%s [Line %d] the scan assistant quit after its answer", name, __LINE__);
        repeatWaitingPress();
        return;
    }
    bool isStarted = false;
    if (result == 0) {
        PSlog("%s [Line %d] confirmAction", name, __LINE__);
        isStarted = guardedResult(name, false, [&] {
            return SM_CheckEventInfo(press.event, deviceInfoOf(press, userInfo),
                                     platform::textAt(userInfo, "ScannerVersion"));
        });
        if (!isStarted) {
            PSlog("%s [Line %d] SM_CheckEventInfo fails", name, __LINE__);
        }
    }
    if (!isStarted) {
        receiveError();
    }
    forgetPress(press);
    if (isWaiting()) {
        waitingPress_.reset();
        assistantWatch_.stopLooking();
    }
}

void TgaServiceManager::receiveError() {
    PSlog("%s [Line %d] receiveError", "-[TgaServiceManager SM_ScannerConfirmationDidFinish:]", __LINE__);
    TrLaunchApplicationManager::sharedLaunchApplicationManager()->terminateScanAssistant();
    postScanEventDidFinish();
}

bool TgaServiceManager::SM_CheckEventInfo(const Dictionary& event,
                                          const std::optional<Dictionary>& deviceInfo,
                                          const std::optional<std::string>& scannerVersion) {
    constexpr const char* name = "-[TgaServiceManager SM_CheckEventInfo:scannerVersion:]";
    PSlog("%s [Line %d] ", name, __LINE__);
    const std::optional<std::string> driverName = platform::textAt(event, "driverName");
    PSlog("%s [Line %d] driverName_String = %@", name, __LINE__, driverName);
    if (!driverName) {
        return false;
    }
    const std::int32_t eventID =
        SM_MappingEventIDWithDevInfo(event, deviceInfo, array_DeviceInfoList).eventID;
    bool isEventAction = false;
    if (isRefusedEvent(eventID)) {
        showNotSupportedEvent();
    } else {
        isEventAction = SM_EventAction(event, std::to_string(eventID), deviceInfo, scannerVersion);
    }
    PSlog("%s Leave [Line %d] ", name, __LINE__);
    return isEventAction;
}

bool TgaServiceManager::SM_EventAction(const Dictionary& event, const std::string& eventID,
                                       const std::optional<Dictionary>& deviceInfo,
                                       const std::optional<std::string>& scannerVersion) {
    constexpr const char* name = "-[TgaServiceManager SM_EventAction:deviceInfo:scannerVersion:]";
    PSlog("%s Enter [Line %d] ", name, __LINE__);
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
        runProject(project, driver, eventID, address);
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
