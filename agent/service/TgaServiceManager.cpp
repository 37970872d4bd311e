// Set-up and refresh of the service manager, and what its callers on other threads reach.

#include "agent/service/TgaServiceManager.h"

#include "agent/event/ScanEventRecord.h"
#include "agent/log/Guarded.h"
#include "catalogue/events/TrEventManager.h"
#include "files/NotificationNames.h"
#include "monitor/TgaSurveillant.h"
#include "platform/Platform.h"
#include "projects/manager/CachedCatalogues.h"

namespace trigora {

std::shared_ptr<TgaServiceManager> TgaServiceManager::sharedServiceManager() {
    return platform::shared<TgaServiceManager>();
}

TgaServiceManager::TgaServiceManager() { SM_Initialize(); }

TgaServiceManager::~TgaServiceManager() {
    SM_RemoveAppleEvent();
    SM_RemoveDistributedNotification();
    platform::current().runLoop.cancelTimer(tidyUpTimer_);
    stopWaitingForScanAssistant();
    SM_Dealloc();
}

void TgaServiceManager::SM_Initialize() {
    array_DeviceInfoList.reset();
    setCurrentEvent(std::nullopt);
    mutableArray_MonitorFolder.clear();
    dictionary_TestScanInfo.reset();
    string_ScannerName.reset();
}

void TgaServiceManager::SM_Dealloc() {
    dictionary_TestScanInfo.reset();
    mutableArray_MonitorFolder.clear();
    array_DeviceInfoList.reset();
    setCurrentEvent(std::nullopt);
    string_ScannerName.reset();
}

void TgaServiceManager::setupService() {
    SM_ReadDevInfFile();
    SM_RegistrationAppleEvent();
    SM_RegistrationDistributedNotification();
    SM_RunMonitorFolder();
}

void TgaServiceManager::setCurrentEvent(std::optional<Dictionary> currentEvent) {
    const std::lock_guard lock(mutex_);
    dictionary_CurrentEvent = std::move(currentEvent);
}

void TgaServiceManager::forgetCurrentEvent(const Dictionary& event) {
    const std::lock_guard lock(mutex_);
    if (dictionary_CurrentEvent == event) {
        dictionary_CurrentEvent.reset();
    }
}

Dictionary TgaServiceManager::currentEvent() const {
    const std::lock_guard lock(mutex_);
    return dictionary_CurrentEvent.value_or(Dictionary{});
}

void TgaServiceManager::getDriverName(std::optional<std::string>& driverName) const {
    const std::lock_guard lock(mutex_);
    driverName = string_ScannerName;
}

void TgaServiceManager::forgetDriverName() {
    const std::lock_guard lock(mutex_);
    string_ScannerName.reset();
    isDriverNameAnswered_ = false;
}

bool TgaServiceManager::isDriverNameAnswered() const {
    const std::lock_guard lock(mutex_);
    return isDriverNameAnswered_;
}

void TgaServiceManager::SM_RegistrationAppleEvent() {
    platform::current().appleEvents.setEventHandler(
        platform::productEventClass, scanButtonEventID,
        [this](const platform::AppleEvent& event, platform::AppleEvent& replyEvent) {
            guarded("-[TgaServiceManager SM_HandleScanEvent:withReplyEvent:]",
                    [&] { SM_HandleScanEvent(event, replyEvent); });
        });
}

void TgaServiceManager::SM_RemoveAppleEvent() {
    platform::current().appleEvents.removeEventHandler(platform::productEventClass, scanButtonEventID);
}

void TgaServiceManager::SM_RegistrationDistributedNotification() {
    observe(notifications::didFinishScan, &TgaServiceManager::SM_ScanDidFinish);
    observe(notifications::didFinishScannerConfirmation, &TgaServiceManager::SM_ScannerConfirmationDidFinish);
    observe(notifications::didFinishLaunchingPlScan, &TgaServiceManager::SM_PeloxScanLaunchingDidFinish);
    observe(notifications::scanSettingsDidChange, &TgaServiceManager::SM_ScanSettingsDidChange);
    observe(notifications::monitorFolderSettingsDidChange,
            &TgaServiceManager::SM_MonitorFolderSettingsDidChange);
    observe(notifications::testScanningWillStart, &TgaServiceManager::SM_TestScanningWillStart);
    observe(notifications::didGetDriverNameWithIPAddress,
            &TgaServiceManager::SM_ReplyDriverNameWithIPAddressDidFinish);
}

void TgaServiceManager::observe(const std::string& name, Observer handler) {
    observers_.push_back(platform::current().notifications.observe(
        name, [this, handler](const platform::Notification& notification) {
            guarded(notification.name.c_str(), [&] { (this->*handler)(notification); });
        }));
}

void TgaServiceManager::SM_RemoveDistributedNotification() {
    for (const auto observer : observers_) {
        platform::current().notifications.removeObserver(observer);
    }
    observers_.clear();
}

void TgaServiceManager::SM_RunMonitorFolder() {
    for (const auto& watcher : mutableArray_MonitorFolder) {
        watcher->invalidateMonitorFolder();
    }
    mutableArray_MonitorFolder.clear();
    const auto eventManager = TrEventManager::sharedEventManager();
    for (const auto& monitorEvent : eventManager->monitorEventList()) {
        auto watcher = std::make_unique<TgaSurveillant>();
        watcher->setupMonitorSettings(monitorEvent);
        mutableArray_MonitorFolder.push_back(std::move(watcher));
    }
}

std::vector<std::string> TgaServiceManager::watchedFolders() const {
    std::vector<std::string> folders;
    for (const auto& watcher : mutableArray_MonitorFolder) {
        if (watcher->isWatching()) {
            folders.push_back(watcher->monitorPath());
        }
    }
    return folders;
}

void TgaServiceManager::SM_RefreshDataManager() { releaseCachedCatalogues(); }

} // namespace trigora
