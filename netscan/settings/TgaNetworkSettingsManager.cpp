#include "netscan/settings/TgaNetworkSettingsManager.h"

#include "agent/log/Guarded.h"
#include "agent/log/PSlog.h"
#include "files/InstalledPaths.h"
#include "files/NotificationNames.h"
#include "files/TrFilePathUtility.h"
#include "netscan/exchange/PanelJobExchange.h"
#include "platform/Bundles.h"
#include "platform/Clock.h"
#include "platform/Desktop.h"
#include "platform/DistributedNotifications.h"
#include "platform/FileSystem.h"
#include "platform/Formats.h"
#include "platform/Text.h"
#include "runners/launch/TrLaunchApplicationManager.h"

namespace trigora {

namespace {

constexpr std::int64_t pauseAfterStop = 3000000; // microseconds

/// The settings, read from their former place when there are none in the present one.
Dictionary readSettings() {
    const auto utility = TrFilePathUtility::sharedFilePathUtility();
    std::string path = utility->networkScanSettingPath();
    if (!platform::current().fileSystem.exists(path)) {
        path = utility->oldNetworkScanSettingPath();
    }
    const std::optional<Value> settings = platform::current().propertyLists.read(path);
    return settings && settings->dictionary() != nullptr ? *settings->dictionary() : Dictionary();
}

} // namespace

TgaNetworkSettingsManager::TgaNetworkSettingsManager() { NSM_Initialize(); }

TgaNetworkSettingsManager::~TgaNetworkSettingsManager() { NSM_Dealloc(); }

void TgaNetworkSettingsManager::NSM_Initialize() {
    NSM_SetIsEnableNetworkScan(true);
    NSM_SetNetworkScanName(std::nullopt);
}

void TgaNetworkSettingsManager::NSM_Dealloc() {
    NSM_StopService();
    // Threads of a service that does not stop are still in the module's code: that stays where it is.
    if (!bool_IsStartService) {
        NSM_UnloadNetScanBundle();
    }
}

void TgaNetworkSettingsManager::readNetworkScanSettingsFile() {
    const Dictionary settings = readSettings();
    NSM_SetIsEnableNetworkScan(platform::booleanAt(settings, "EnableNetWorkScan").value_or(true));
    NSM_SetNetworkScanName(platform::textAt(settings, "PCName"));
    NSM_StopService();
    if (isEnableNetworkScan()) {
        NSM_StartService();
    }
    NSM_SetClientPCName(networkScanName());
}

std::int32_t TgaNetworkSettingsManager::stopNetworkService() { return NSM_StopService(); }

void TgaNetworkSettingsManager::setDSName(const std::optional<std::string>& dsName,
                                          const std::optional<std::string>& forKey) {
    if (dsName && forKey) {
        const std::lock_guard lock(mutex_);
        mutableDictionary_IDMatchDSName[*forKey] = *dsName;
    }
}

std::optional<std::string>
TgaNetworkSettingsManager::dsNameWithScopeList(const std::string& productID) const {
    const std::lock_guard lock(mutex_);
    const auto entry = mutableDictionary_IDMatchDSName.find(productID);
    return entry == mutableDictionary_IDMatchDSName.end() ? std::nullopt : std::optional(entry->second);
}

void TgaNetworkSettingsManager::processNetworkScanEvent(const Dictionary& event) {
    if (!TrLaunchApplicationManager::sharedLaunchApplicationManager()->launchScanAssistantWithWait()) {
        PSlog("%s [Line %d] the scan assistant does not start", "processNetworkScanEvent", __LINE__);
        return;
    }
    platform::current().notifications.post(notifications::replyScannerConfirmation, event, true);
}

std::optional<std::string> TgaNetworkSettingsManager::getICADriverVersion() {
    const std::shared_ptr<platform::Bundle> driver =
        platform::current().bundles.create(paths::imageCaptureDriver());
    return driver ? platform::textAt(driver->infoDictionary(), "CFBundleShortVersionString") : std::nullopt;
}

std::string TgaNetworkSettingsManager::getSystemVersion() {
    return std::to_string(platform::current().systemInformation.systemVersion());
}

bool TgaNetworkSettingsManager::isCompareVersionAboveKeyVersion(const std::string& version,
                                                                const std::string& keyVersion) {
    const auto tested = platform::componentsSeparatedByString(version, ".");
    const auto key = platform::componentsSeparatedByString(keyVersion, ".");
    for (std::size_t i = 0; i < key.size() && i < tested.size(); ++i) {
        const std::int32_t testedNumber = platform::integerValue(tested[i]);
        const std::int32_t keyNumber = platform::integerValue(key[i]);
        if (keyNumber < testedNumber || (i + 1 == tested.size() && keyNumber == testedNumber)) {
            return true;
        }
    }
    return false;
}

std::int32_t TgaNetworkSettingsManager::NSM_LoadNetScanBundle() {
    if (bundleRef_NetScan) {
        return 0;
    }
    platform::Bundles& bundles = platform::current().bundles;
    const std::shared_ptr<platform::Bundle> agent = bundles.mainBundle();
    bundleRef_NetScan = agent ? bundles.create(paths::networkScanModule(agent->path())) : nullptr;
    if (!bundleRef_NetScan) {
        return 0;
    }
    if (!bundleRef_NetScan->loadExecutable()) {
        NSM_UnloadNetScanBundle();
        return 0;
    }
    platform::Bundle& module = *bundleRef_NetScan;
    startServiceProc = platform::functionNamed<NSMStartServiceFunction>(module, "NSMStartService");
    stopServiceProc = platform::functionNamed<NSMStopServiceFunction>(module, "NSMStopService");
    initProc = platform::functionNamed<NSMInitialFunction>(module, "NSMInitial");
    terminalProc = platform::functionNamed<NSMTerminalFunction>(module, "NSMTerminal");
    setPCNameProc = platform::functionNamed<NSMSetPCNameFunction>(module, "NSMSetPCName");
    getPCNameProc = platform::functionNamed<NSMGetPCNameFunction>(module, "NSMGetPCName");
    return initProc == nullptr ? 0 : initProc();
}

void TgaNetworkSettingsManager::NSM_UnloadNetScanBundle() {
    if (!bundleRef_NetScan) {
        return;
    }
    bundleRef_NetScan->unloadExecutable();
    bundleRef_NetScan.reset();
    startServiceProc = nullptr;
    stopServiceProc = nullptr;
    initProc = nullptr;
    terminalProc = nullptr;
    setPCNameProc = nullptr;
    getPCNameProc = nullptr;
}

std::int32_t TgaNetworkSettingsManager::NSM_StartService() {
    if (bool_IsStartService) {
        return 0;
    }
    NSM_LoadNetScanBundle();
    if (!bundleRef_NetScan || startServiceProc == nullptr) {
        return -1;
    }
    void* context = static_cast<PanelEventContext*>(this);
    std::int32_t result = 0;
    startingThread_ = std::this_thread::get_id();
    guarded("NSMStartService", [&] {
        result =
            startServiceProc(&discoveryCallBack, &eventCallback, &errorCallback, context, context, context);
    });
    startingThread_ = std::thread::id();
    bool_IsStartService = result == 1;
    return result;
}

std::int32_t TgaNetworkSettingsManager::NSM_StopService() {
    if (!bool_IsStartService) {
        return 1;
    }
    std::int32_t result = 0;
    isStopping_ = true;
    guarded("NSMStopService", [&] { result = stopServiceProc == nullptr ? 0 : stopServiceProc(); });
    isStopping_ = false;
    if (result == 1) {
        bool_IsStartService = false;
    }
    platform::current().clock.sleepMicroseconds(pauseAfterStop);
    return result;
}

std::int32_t TgaNetworkSettingsManager::NSM_SetClientPCName(const std::optional<std::string>& name) {
    if (setPCNameProc == nullptr || !name) {
        return -1;
    }
    return setPCNameProc(name->c_str(), static_cast<std::uint32_t>(platform::utf16Length(*name)));
}

} // namespace trigora
