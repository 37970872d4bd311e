#include "agent/log/Guarded.h"
#include "agent/log/PSlog.h"
#include "agent/service/TgaServiceManager.h"
#include "files/FileManagerExtension.h"
#include "files/TrFilePathUtility.h"
#include "netscan/panel/SVJobInterface.h"
#include "netscan/settings/DriverNames.h"
#include "netscan/settings/TgaNetworkSettingsManager.h"
#include "platform/Clock.h"
#include "platform/DistributedNotifications.h"
#include "platform/Formats.h"
#include "platform/LowMemory.h"
#include "platform/Text.h"
#include "runners/launch/TrLaunchApplicationManager.h"
#include "usbscan/buttons/TgaButtonManager.h"

#include <cstring>
#include <string_view>

namespace trigora {

namespace {

/// No text in a record is longer.
constexpr std::size_t longestText = 4096;
/// An error's text is cut behind so many bytes.
constexpr std::size_t longestErrorText = 65536;
/// The system that brought the driver which can be asked for its name.
constexpr std::int32_t newerSystemVersion = 0x1060;

std::optional<std::string> textOfRecord(address32 address) {
    std::optional<std::string> text = platform::current().lowMemory.textAt(address, longestText);
    return text && platform::isValidUtf8(*text) ? text : std::nullopt;
}

bool isNewerDriverInstalled() {
    using Manager = TgaNetworkSettingsManager;
    const std::optional<std::string> driverVersion = Manager::getICADriverVersion();
    return platform::integerValue(Manager::getSystemVersion()) >= newerSystemVersion && driverVersion &&
           Manager::isCompareVersionAboveKeyVersion(*driverVersion, "5.3.3");
}

bool isServedByJobInterface(const std::string& productID) {
    const std::shared_ptr<SVJobInterface> jobInterface = SVJobInterface::jobInterfaceForProductID(productID);
    const bool isServed = jobInterface && jobInterface->isPushScanSupported();
    if (jobInterface && !isServed) {
        PSlog("[jobif isPushScanSupported] == NO");
    }
    return isServed;
}

std::int32_t answerFor(bool isServed) { return isServed ? NSM_SCANNER_SERVED : NSM_SCANNER_NOT_SERVED; }

void writeErrorLog(const std::string& text) {
    const auto utility = TrFilePathUtility::sharedFilePathUtility();
    const std::string path = utility->networkLogInfoPath();
    utility->createFolderPath(platform::deletingLastPathComponent(path));
    platform::current().propertyLists.write(path, Dictionary{{"NetWorkLogInfo", text}}, true);
    exChangeFileAttributes(attributesOfWrittenFile(), path);
}

} // namespace

std::int32_t TgaNetworkSettingsManager::answerDiscovery(const _NSMDiscovery& discovery) {
    const std::lock_guard lock(lock_Discovery);
    const std::optional<std::string> productID = textOfRecord(discovery.productID);
    PSlog("discoveryCallBack productID = %@", productID);
    if (!productID) {
        return NSM_SCANNER_NOT_SERVED;
    }
    if (dsNameWithScopeList(*productID) ||
        TgaButtonManager::sharedButtonManager()->isPushScanSupported(*productID)) {
        return NSM_SCANNER_SERVED;
    }
    if (textOfRecord(discovery.versionInformation).value_or("").find("Ver") != std::string::npos) {
        return answerFor(isServedByJobInterface(*productID)); // its panel picks from job lists
    }
    char driverName[driverNameSize] = {};
    if (getDSName(productID->c_str(), driverName, [this] { return isStopping_.load(); }) == 1) {
        setDSName(driverName, productID);
        return NSM_SCANNER_SERVED;
    }
    const std::optional<std::string> ipAddress = textOfRecord(discovery.ipAddress);
    if (ipAddress && isNewerDriverInstalled() && askDriverName(*productID, *ipAddress)) {
        return NSM_SCANNER_SERVED;
    }
    PSlog("no driver is known for %@", productID);
    return NSM_SCANNER_NOT_SERVED;
}

bool TgaNetworkSettingsManager::askDriverName(const std::string& productID, const std::string& ipAddress) {
    // Measured in processor time, which passes more slowly than time on the wall: a busy desktop gets more
    // time to answer.
    constexpr std::int64_t pollTime = 1000000;
    constexpr std::int64_t pollPause = 10000; // microseconds
    if (isStopping_ ||
        !TrLaunchApplicationManager::sharedLaunchApplicationManager()->launchScanAssistantWithWait()) {
        return false;
    }
    platform::current().notifications.post("ReplyDriverNameWithIPAddressDistributedNotification",
                                           Dictionary{{"IPAddress", ipAddress}}, true);
    platform::Clock& clock = platform::current().clock;
    const std::int64_t start = clock.processorTime();
    std::optional<std::string> driverName;
    while (!driverName && !isStopping_ && clock.processorTime() - start < pollTime) {
        clock.sleepMicroseconds(pollPause);
        TgaServiceManager::sharedServiceManager()->getDriverName(driverName);
    }
    setDSName(driverName, productID);
    return driverName.has_value();
}

std::int32_t discoveryCallBack(const _NSMDiscovery* discovery, void* context) {
    std::int32_t result = NSM_SCANNER_NOT_SERVED;
    if (discovery == nullptr || context == nullptr) {
        return result;
    }
    guarded("discoveryCallBack", [&] {
        auto* manager = static_cast<TgaNetworkSettingsManager*>(static_cast<PanelEventContext*>(context));
        result = manager->answerDiscovery(*discovery);
        PSlog("discoveryCallBack result = %d", result);
    });
    return result;
}

std::int32_t errorCallback(std::int32_t, std::int32_t, const char* text, void*) {
    try {
        if (text == nullptr) {
            return 1;
        }
        const std::size_t length = strnlen(text, longestErrorText + 1); // one more shows where to cut
        const std::string_view message = platform::utf8Prefix({text, length}, longestErrorText);
        if (platform::isValidUtf8(message)) {
            writeErrorLog(std::string(message));
        }
    } catch (...) {
        // The module has nobody to tell.
    }
    return 1;
}

} // namespace trigora
