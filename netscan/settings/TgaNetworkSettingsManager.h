#pragma once

#include "modules/network_scan.h"
#include "netscan/panel/PanelEventContext.h"
#include "platform/Platform.h"

#include <atomic>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>

namespace trigora {

namespace platform {
class Bundle;
}

/// The call-backs handed to the network-scan module, with the manager (as its `PanelEventContext`) as their
/// context; the third is `eventCallback`.
extern "C" std::int32_t discoveryCallBack(const _NSMDiscovery* discovery, void* context);
extern "C" std::int32_t errorCallback(std::int32_t code, std::int32_t detail, const char* text,
                                      void* context);

/// Owns the network-scan module: brings its service into the state that the user's settings ask for, tells it
/// the computer's name, and answers the scanners that it finds.
///
/// The service is not loaded, loaded and stopped, or running. Starting loads on the way; stopping leaves the
/// module loaded; only destruction unloads it. Every reading of the settings stops and starts the service.
/// The module calls back on threads of its own: what it reaches may be called on any thread, all else on the
/// main thread only.
class TgaNetworkSettingsManager final : public PanelEventContext {
public:
    static std::shared_ptr<TgaNetworkSettingsManager> sharedNetworkSettingsManager() {
        return platform::shared<TgaNetworkSettingsManager>();
    }

    TgaNetworkSettingsManager();
    TgaNetworkSettingsManager(const TgaNetworkSettingsManager&) = delete;
    TgaNetworkSettingsManager& operator=(const TgaNetworkSettingsManager&) = delete;
    ~TgaNetworkSettingsManager();

    /// Reads the user's settings and restarts or stops the service accordingly. A running service takes
    /// three seconds to stop.
    void readNetworkScanSettingsFile();
    /// Gives 1 when the service does not run afterwards, else what the module answered.
    std::int32_t stopNetworkService();

    bool isEnableNetworkScan() const { return bool_IsEnableNetworkScan; }
    /// The name that scanners show for this computer; none when the user has set none.
    const std::optional<std::string>& networkScanName() const { return string_NetworkName; }

    /// Keeps which driver serves a scanner, for the life of the agent; does nothing unless both are given.
    /// Any thread.
    void setDSName(const std::optional<std::string>& dsName, const std::optional<std::string>& forKey);
    std::optional<std::string> dsNameWithScopeList(const std::string& productID) const override;
    void processNetworkScanEvent(const Dictionary& event) override;

    /// The version of the maker's installed scanner driver; none without one.
    static std::optional<std::string> getICADriverVersion();
    /// The system's version number as decimal text.
    static std::string getSystemVersion();
    /// Whether a version is at least the key, by a rule that is kept as it stands: it never says no early,
    /// so that a later, larger component still says yes (4.9.0 is above 5.3.3).
    static bool isCompareVersionAboveKeyVersion(const std::string& version, const std::string& keyVersion);

private:
    friend std::int32_t discoveryCallBack(const _NSMDiscovery* discovery, void* context);

    void NSM_Initialize();
    void NSM_Dealloc();
    void NSM_SetIsEnableNetworkScan(bool isEnable) { bool_IsEnableNetworkScan = isEnable; }
    void NSM_SetNetworkScanName(std::optional<std::string> name) { string_NetworkName = std::move(name); }
    /// 0 when it runs already, -1 without a module, else what the module answered: 1 when started.
    std::int32_t NSM_StartService();
    std::int32_t NSM_StopService();
    /// -1 without a name or without a module that takes one, else what the module answered.
    std::int32_t NSM_SetClientPCName(const std::optional<std::string>& name);
    /// What the module's start-up answered; 0 when it was loaded before or cannot be loaded.
    std::int32_t NSM_LoadNetScanBundle();
    void NSM_UnloadNetScanBundle();

    /// The answer to a scanner that announces itself.
    std::int32_t answerDiscovery(const _NSMDiscovery& discovery);
    /// Whether the scanner is served, if that is known without asking for its driver.
    std::optional<bool> isServedWithoutAsking(const std::string& productID,
                                              const std::string& versionInformation) const;
    /// Asks other programs for the scanner's driver, one scanner at a time, and keeps the name. The address
    /// may be unknown.
    bool findDriver(const std::string& productID, const std::optional<std::string>& ipAddress);
    /// Owns the lock unless the other scanners' questions take too long.
    std::unique_lock<std::mutex> waitForDiscoveryLock();
    /// Whether a thread that waits in a call-back is to return, because the service stops or the program
    /// ends.
    bool isGivingUp() const;
    /// Asks the scan assistant for the driver of the scanner at the address, and keeps its answer.
    bool askDriverName(const std::string& productID, const std::string& ipAddress);

    bool bool_IsEnableNetworkScan = true;
    std::optional<std::string> string_NetworkName;
    std::map<std::string, std::string> mutableDictionary_IDMatchDSName; ///< guarded by mutex_
    bool bool_IsStartService = false;
    std::shared_ptr<platform::Bundle> bundleRef_NetScan;
    NSMStartServiceFunction* startServiceProc = nullptr;
    NSMStopServiceFunction* stopServiceProc = nullptr;
    NSMInitialFunction* initProc = nullptr;
    NSMTerminalFunction* terminalProc = nullptr;
    NSMSetPCNameFunction* setPCNameProc = nullptr;
    NSMGetPCNameFunction* getPCNameProc = nullptr;

    mutable std::mutex mutex_;
    std::mutex lock_Discovery;                    ///< held while a scanner's driver is asked for
    std::atomic<bool> isStopping_ = false;        ///< a discovery that waits for an answer gives up
    std::atomic<std::thread::id> startingThread_; ///< that is in the module's start; none most of the time
};

} // namespace trigora
