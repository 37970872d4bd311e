#include "agent/delegate/TgaApplicationDelegate.h"

#include "agent/log/Guarded.h"
#include "agent/service/TgaServiceManager.h"
#include "files/NotificationNames.h"
#include "platform/Platform.h"

namespace trigora {

namespace {

/// Has every source do one thing, in their order; one that fails does not keep the next from it.
void drive(const std::vector<EventSource>& sources, std::function<void()> EventSource::*function) {
    for (const EventSource& source : sources) {
        if (source.*function) {
            guarded(source.name.c_str(), source.*function);
        }
    }
}

} // namespace

TgaApplicationDelegate::TgaApplicationDelegate(std::vector<EventSource> eventSources)
    : eventSources_(std::move(eventSources)) {}

TgaApplicationDelegate::~TgaApplicationDelegate() {
    if (observer_ != 0) {
        platform::current().notifications.removeObserver(observer_);
    }
}

void TgaApplicationDelegate::applicationDidFinishLaunching() {
    guarded("-[TgaApplicationDelegate AD_RegistrationNotification]",
            [this] { AD_RegistrationNotification(); });
    guarded("-[TgaServiceManager sharedServiceManager]",
            [] { TgaServiceManager::sharedServiceManager()->setupService(); });
    drive(eventSources_, &EventSource::start);
}

void TgaApplicationDelegate::applicationWillTerminate() { drive(eventSources_, &EventSource::stop); }

void TgaApplicationDelegate::AD_RegistrationNotification() {
    observer_ = platform::current().notifications.observe(
        notifications::networkSettingsDidChange,
        [this](const platform::Notification& notification) { AD_NetworkSettingsDidChange(notification); });
}

void TgaApplicationDelegate::AD_NetworkSettingsDidChange(const platform::Notification&) {
    drive(eventSources_, &EventSource::networkSettingsDidChange);
}

} // namespace trigora
