#include "runners/actions/TgaActionRunnerCopy.h"

#include "files/InstalledPaths.h"
#include "platform/Bundles.h"
#include "platform/Platform.h"
#include "platform/Text.h"
#include "runners/actions/NextAssistant.h"
#include "runners/launch/TrLaunchApplicationManager.h"

namespace trigora {

namespace {

constexpr std::uint32_t copyEventClass = platform::fourCharCode("PLuc");

/// The first number of the installed copy application's version; 0 without application or version.
std::int32_t copyApplicationMajorVersion() {
    const auto bundle = platform::current().bundles.create(paths::copyApplication());
    const auto version =
        bundle ? platform::textAt(bundle->infoDictionary(), "CFBundleShortVersionString") : std::nullopt;
    return version ? platform::integerValue(platform::componentsSeparatedByString(*version, ".").front()) : 0;
}

/// Tells a running copy application to begin.
std::int32_t startCopying() {
    const auto processID = TrLaunchApplicationManager::sharedLaunchApplicationManager()->processID(
        platform::fourCharCode("APPL"), platform::fourCharCode("pCp5"));
    return processID ? sendBytes(platform::ProcessTarget{*processID}, copyEventClass,
                                 platform::fourCharCode("scan"), {})
                     : 0;
}

} // namespace

std::int32_t TgaActionRunnerCopy::performAction() {
    constexpr std::int32_t lastMajorVersionWithEvents = 3;
    endRunningScanAssistant();
    return copyApplicationMajorVersion() > lastMajorVersionWithEvents ? performActionV4() : performActionV3();
}

std::int32_t TgaActionRunnerCopy::performActionV3() const {
    const Dictionary data = scanAssistantData().value_or(Dictionary());
    const platform::ApplicationLaunch launch = launchNextAssistant(data);
    const auto driverName = platform::textAt(data, "driverName");
    if (launch.status != 0 || !driverName) {
        return launch.status;
    }
    const std::int32_t status =
        sendBytes(platform::ProcessTarget{launch.processID}, copyEventClass, platform::fourCharCode("OPtw"),
                  Data(driverName->begin(), driverName->end()));
    return status == 0 ? startCopying() : status;
}

std::int32_t TgaActionRunnerCopy::performActionV4() const {
    launchForScanner(paths::copyApplication(), scanAssistantData().value_or(Dictionary()));
    return 0;
}

} // namespace trigora
