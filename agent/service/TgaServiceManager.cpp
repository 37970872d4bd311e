// Set-up and refresh of the service manager, and what its callers on other threads reach.

#include "agent/service/TgaServiceManager.h"

#include "agent/event/ScanEventRecord.h"
#include "agent/log/Guarded.h"
#include "catalogue/events/TrEventManager.h"
#include "files/NotificationNames.h"
#include "monitor/TgaSurveillant.h"
#include "platform/Platform.h"
#include "runners/launch/TrLaunchApplicationManager.h"

#include <utility>

namespace trigora {

std::shared_ptr<TgaServiceManager> TgaServiceManager::sharedServiceManager() {
    return platform::shared<TgaServiceManager>();
}

TgaServiceManager::TgaServiceManager()
    : assistantWatch_([this](std::optional<std::int32_t> assistant) { scanAssistantHasGone(assistant); }) {}

TgaServiceManager::~TgaServiceManager() {
    SM_RemoveAppleEvent();
    SM_RemoveDistributedNotification();
}

void TgaServiceManager::setupService() {
    const std::pair<const char*, void (TgaServiceManager::*)()> steps[] = {
        {"-[TgaServiceManager SM_ReadDevInfFile]", &TgaServiceManager::SM_ReadDevInfFile},
        {"-[TgaServiceManager SM_RegistrationAppleEvent]", &TgaServiceManager::SM_RegistrationAppleEvent},
        {"-[TgaServiceManager SM_RegistrationDistributedNotification]",
         &TgaServiceManager::SM_RegistrationDistributedNotification},
        {"-[TgaServiceManager SM_RunMonitorFolder]", &TgaServiceManager::SM_RunMonitorFolder},
        {"-[TgaServiceManager noteFormerAssistant]", &TgaServiceManager::noteFormerAssistant},
    };
    for (const auto& step : steps) {
        guarded(step.first, [&] { (this->*step.second)(); });
    }
}

void TgaServiceManager::noteFormerAssistant() {
    formerAssistant_ = TrLaunchApplicationManager::sharedLaunchApplicationManager()->scanAssistantProcessID();
}

ScanPress TgaServiceManager::setCurrentEvent(Dictionary currentEvent) {
    const std::lock_guard lock(mutex_);
    dictionary_CurrentEvent = {++lastSerial_, std::move(currentEvent)};
    return dictionary_CurrentEvent;
}

ScanPress TgaServiceManager::currentPress() const {
    const std::lock_guard lock(mutex_);
    return dictionary_CurrentEvent;
}

bool TgaServiceManager::isCurrent(const ScanPress& press) const {
    const std::lock_guard lock(mutex_);
    return dictionary_CurrentEvent.serial == press.serial;
}

void TgaServiceManager::forgetPress(const ScanPress& press) {
    const std::lock_guard lock(mutex_);
    if (dictionary_CurrentEvent.serial == press.serial) {
        dictionary_CurrentEvent = {};
    }
}

std::optional<std::string> TgaServiceManager::getDriverName() const {
    const std::lock_guard lock(mutex_);
    return string_ScannerName;
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

} // namespace trigora
