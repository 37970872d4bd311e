#include "runners/actions/TgaActionRunnerPageManager.h"

#include "platform/Text.h"
#include "runners/actions/LaunchRecord.h"
#include "runners/actions/NextAssistant.h"

namespace trigora {

std::int32_t TgaActionRunnerPageManager::performAction() {
    const Dictionary data = scanAssistantData().value_or(Dictionary());
    const platform::ApplicationLaunch launch = launchNextAssistant(data);
    if (launch.status != 0) {
        return launch.status;
    }
    if (driverName() && ipAddress()) {
        ARPM_LaunchScanAssistant();
    }
    return sendBytes(platform::ProcessTarget{launch.processID}, platform::fourCharCode("appl"),
                     platform::fourCharCode("unon"), bytesOf(launchRecord(data)));
}

void TgaActionRunnerPageManager::ARPM_LaunchScanAssistant() const {
    confirmScannerThroughScanAssistant(driverName(), ipAddress());
}

} // namespace trigora
