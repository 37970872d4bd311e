#include "runners/actions/TgaActionRunnerPeloxScan.h"

#include "agent/log/PSlog.h"
#include "files/NotificationNames.h"
#include "platform/Desktop.h"
#include "platform/DistributedNotifications.h"
#include "platform/Platform.h"
#include "platform/Text.h"
#include "runners/actions/NextAssistant.h"
#include "runners/launch/TrLaunchApplicationManager.h"

namespace trigora {

namespace {

constexpr const char* performActionName = "-[TgaActionRunnerPeloxScan performAction]";

constexpr int networkProjectID = 520;
// Two thresholds on purpose: drivers of version 2.69 take a project ID but cannot run the network project.
constexpr double networkProjectVersion = 2.7;
constexpr double passedProjectIDVersion = 2.69;

} // namespace

std::int32_t TgaActionRunnerPeloxScan::performAction() {
    PSlog("%s Enter [Line %d] ", performActionName, __LINE__);
    if (isDriverTooOldForProject()) {
        warnOfOldDriver();
    } else {
        postScanSettings();
    }
    constexpr std::int32_t result = 0;
    PSlog("%s Leave [Line %d] result_Short = %d", performActionName, __LINE__, result);
    return result;
}

// The text is read in single precision, in which 2.7 is a little more than 2.7, and compared in double, so
// that a driver of exactly a threshold's version passes it.
double TgaActionRunnerPeloxScan::driverVersionNumber() const {
    return driverVersion() ? static_cast<double>(platform::floatValue(*driverVersion())) : 0;
}

bool TgaActionRunnerPeloxScan::isDriverTooOldForProject() const {
    return projectID() && platform::integerValue(*projectID()) == networkProjectID &&
           driverVersionNumber() < networkProjectVersion;
}

void TgaActionRunnerPeloxScan::warnOfOldDriver() const {
    platform::StringTable& texts = platform::current().stringTable;
    const platform::AlertAnswer answer = platform::current().alertPanel.run(
        texts.localizedString("Message.Title"), texts.localizedString("MSG.LowVersionDriver.Error"),
        texts.localizedString("Message.Button.OK"));
    if (answer == platform::AlertAnswer::defaultButton) {
        confirmScannerThroughScanAssistant(driverName(), ipAddress());
    }
}

void TgaActionRunnerPeloxScan::postScanSettings() const {
    const std::optional<Dictionary> userInfo = scanSettingsUserInfo();
    // Posted whether or not the assistant started.
    TrLaunchApplicationManager::sharedLaunchApplicationManager()->launchScanAssistantWithWait();
    PSlog("%s [Line %d] postNotificationName Trc_ReplyLaunchPlScan_DistributedNotification",
          performActionName, __LINE__);
    platform::current().notifications.post(notifications::replyLaunchPlScan, userInfo, true);
}

std::optional<Dictionary> TgaActionRunnerPeloxScan::scanSettingsUserInfo() const {
    if (!scanAssistantData()) {
        return std::nullopt;
    }
    Dictionary settings = *scanAssistantData();
    settings["prefix"] = "img";
    settings["startNumber"] = "001";
    if (projectID() && driverVersionNumber() >= passedProjectIDVersion) {
        settings["projectID"] = *projectID();
    }
    return Dictionary{{"PlScanSettings", std::move(settings)}};
}

} // namespace trigora
