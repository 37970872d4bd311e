#include "agent/log/Guarded.h"
#include "agent/log/PSlog.h"
#include "agent/service/TgaServiceManager.h"
#include "files/FileManagerExtension.h"
#include "files/NotificationNames.h"
#include "files/TrFilePathUtility.h"
#include "netscan/panel/SVJobInterface.h"
#include "netscan/settings/DriverNames.h"
#include "netscan/settings/TgaNetworkSettingsManager.h"
#include "platform/Clock.h"
#include "platform/Desktop.h"
#include "platform/DistributedNotifications.h"
#include "platform/Formats.h"
#include "platform/LowMemory.h"
#include "platform/RunLoop.h"
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

/// Where the maker's driver is installed its version decides; elsewhere there is none to look at, and the
/// installation's settings say.
bool isNewerDriverInstalled() {
    using Manager = TgaNetworkSettingsManager;
    const std::optional<std::string> driverVersion = Manager::getICADriverVersion();
    return platform::integerValue(Manager::getSystemVersion()) >= newerSystemVersion &&
           (driverVersion ? Manager::isCompareVersionAboveKeyVersion(*driverVersion, "5.3.3")
                          : platform::current().systemInformation.isNewerDriverInstalled());
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
    const std::optional<std::string> productID = textOfRecord(discovery.productID);
    PSlog("discoveryCallBack productID = %@", productID);
    if (!productID) {
        return NSM_SCANNER_NOT_SERVED;
    }
    const std::string versionInformation = textOfRecord(discovery.versionInformation).value_or("");
    const std::optional<bool> isServed = isServedWithoutAsking(*productID, versionInformation);
    return answerFor(isServed ? *isServed : findDriver(*productID, textOfRecord(discovery.ipAddress)));
}

std::optional<bool>
TgaNetworkSettingsManager::isServedWithoutAsking(const std::string& productID,
                                                 const std::string& versionInformation) const {
    if (dsNameWithScopeList(productID) ||
        TgaButtonManager::sharedButtonManager()->isPushScanSupported(productID)) {
        return true;
    }
    if (versionInformation.find("Ver") != std::string::npos) {
        return isServedByJobInterface(productID); // its panel picks from job lists
    }
    return std::nullopt;
}

bool TgaNetworkSettingsManager::isGivingUp() const {
    return isStopping_ || platform::current().runLoop.isEnding();
}

bool TgaNetworkSettingsManager::findDriver(const std::string& productID,
                                           const std::optional<std::string>& ipAddress) {
    if (startingThread_.load() == std::this_thread::get_id()) {
        // The answer would have to come through the thread that waits for it.
        PSlog("no driver is asked for while the service starts: none for %@", productID);
        return false;
    }
    const std::unique_lock lock = waitForDiscoveryLock();
    if (!lock) {
        PSlog("another scanner's driver is being asked for: none for %@", productID);
        return false;
    }
    if (dsNameWithScopeList(productID)) {
        return true; // its other announcement was quicker
    }
    char driverName[driverNameSize] = {};
    if (getDSName(productID.c_str(), driverName, [this] { return isGivingUp(); }) == 1) {
        setDSName(driverName, productID);
        return true;
    }
    if (ipAddress && isNewerDriverInstalled() && askDriverName(productID, *ipAddress)) {
        return true;
    }
    PSlog("no driver is known for %@", productID);
    return false;
}

std::unique_lock<std::mutex> TgaNetworkSettingsManager::waitForDiscoveryLock() {
    constexpr double longestWait = 20; // seconds
    constexpr std::int64_t waitPause = 20000;
    platform::Clock& clock = platform::current().clock;
    const double start = clock.monotonicSeconds();
    std::unique_lock lock(lock_Discovery, std::try_to_lock);
    while (!lock && !isGivingUp() && clock.monotonicSeconds() - start < longestWait) {
        clock.sleepMicroseconds(waitPause);
        lock.try_lock();
    }
    return lock;
}

bool TgaNetworkSettingsManager::askDriverName(const std::string& productID, const std::string& ipAddress) {
    // Measured in processor time, which passes more slowly than time on the wall: a busy desktop gets more
    // time to answer. An idle one takes minutes; an answer or the end of the one who was asked comes sooner.
    constexpr std::int64_t pollTime = 1000000;
    constexpr std::int64_t pollPause = 10000; // microseconds
    constexpr int pollsPerLook = 100;         // for the assistant
    const auto launcher = TrLaunchApplicationManager::sharedLaunchApplicationManager();
    if (isGivingUp() || !launcher->launchScanAssistantWithWait()) {
        return false;
    }
    const auto service = TgaServiceManager::sharedServiceManager();
    service->forgetDriverName(); // it was another scanner's
    platform::current().notifications.post(notifications::replyDriverNameWithIPAddress,
                                           Dictionary{{"IPAddress", ipAddress}}, true);
    platform::Clock& clock = platform::current().clock;
    const std::int64_t start = clock.processorTime();
    std::optional<std::string> driverName;
    bool isAnswerComing = true;
    for (int poll = 1;
         !driverName && isAnswerComing && !isGivingUp() && clock.processorTime() - start < pollTime; ++poll) {
        clock.sleepMicroseconds(pollPause);
        isAnswerComing = !service->isDriverNameAnswered() &&
                         (poll % pollsPerLook != 0 || launcher->isLaunchScanAssistant());
        driverName = service->getDriverName();
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
