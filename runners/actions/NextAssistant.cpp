#include "runners/actions/NextAssistant.h"

#include "files/TrFilePathUtility.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"
#include "platform/Text.h"
#include "runners/launch/ConfirmationRequest.h"
#include "runners/launch/TrLaunchApplicationManager.h"

#include <utility>
#include <vector>

namespace trigora {

platform::ApplicationLaunch launchNextAssistant(const Dictionary& scanAssistantData) {
    const std::string path = platform::textAt(scanAssistantData, "NextAssistantPath").value_or("");
    FileReference application;
    const int status = TrFilePathUtility::sharedFilePathUtility()->fsRefFromFilePath(path, application);
    if (status != 0) {
        return {status, 0};
    }
    if (application.path.empty()) { // no path counts as success and leaves the reference unset
        return {platform::fnfErr, 0};
    }
    return platform::current().workspace.launchApplication(application.path);
}

std::int32_t sendBytes(const platform::AppleEventTarget& target, std::uint32_t eventClass,
                       std::uint32_t eventID, Data bytes) {
    platform::AppleEvent event{eventClass, eventID, {}};
    event.parameters.push_back({platform::keyDirectObject, platform::typeWildCard, std::move(bytes)});
    return platform::current().appleEvents.sendWithoutReply(target, event);
}

void launchForScanner(const std::string& path, const Dictionary& scanAssistantData) {
    std::vector<std::string> arguments{"--twainname"};
    if (auto driverName = platform::textAt(scanAssistantData, "driverName")) {
        arguments.push_back(std::move(*driverName));
    }
    TrLaunchApplicationManager::sharedLaunchApplicationManager()->launchApplicationAtPath(
        path, platform::displayNameAtPath(path), arguments);
}

void endRunningScanAssistant() {
    TrLaunchApplicationManager::sharedLaunchApplicationManager()->terminateScanAssistantWithWait();
}

void confirmScannerThroughScanAssistant(const std::optional<std::string>& driverName,
                                        const std::optional<std::string>& ipAddress) {
    const bool isRunning =
        TrLaunchApplicationManager::sharedLaunchApplicationManager()->launchScanAssistantWithWait();
    if (isRunning && driverName && ipAddress) {
        postConfirmationRequest(driverName, ipAddress, false);
    }
}

} // namespace trigora
