#include "catalogue/drivers/TrScannerDriverManager.h"

#include "catalogue/drivers/TrScannerDriverInformation.h"
#include "files/NotificationNames.h"
#include "platform/DistributedNotifications.h"
#include "platform/Platform.h"
#include "runners/launch/TrLaunchApplicationManager.h"

#include <algorithm>

namespace trigora {

namespace {

/// Tells a driver from the Image Capture driver of the same scanner.
constexpr const char* otherDriverSuffix = " - TWAIN";

bool isImageCaptureDriver(const Value& entry) {
    const Dictionary* driver = entry.dictionary();
    return driver != nullptr && platform::booleanAt(*driver, "DriverInfoICA").value_or(false);
}

void restartScanAssistant() {
    const auto launcher = TrLaunchApplicationManager::sharedLaunchApplicationManager();
    if (launcher->isLaunchScanAssistant()) {
        launcher->terminateScanAssistantWithWait();
    }
    if (!launcher->isLaunchScanAssistant()) {
        launcher->launchScanAssistantWithWait();
    }
}

} // namespace

std::shared_ptr<TrScannerDriverManager> TrScannerDriverManager::sharedScannerDriverManager() {
    return platform::shared<TrScannerDriverManager>();
}

void TrScannerDriverManager::setScannerDriverList(const Value& list) {
    mutableArray_ScannerDriverNameList.clear();
    mutableDictionary_ScannerDriverMap.clear();
    const Array* entries = list.array();
    if (entries == nullptr) {
        return;
    }
    const bool hasImageCaptureDriver = std::any_of(entries->begin(), entries->end(), isImageCaptureDriver);
    for (const Value& entry : *entries) {
        const Dictionary* information = entry.dictionary();
        if (information == nullptr) {
            continue;
        }
        auto driver = TrScannerDriverInformation::initWithDriverInformation(*information);
        if (!driver->driverName()) {
            continue;
        }
        std::string name = *driver->driverName();
        if (hasImageCaptureDriver && !isImageCaptureDriver(entry)) {
            name += otherDriverSuffix;
        }
        mutableArray_ScannerDriverNameList.push_back(name);
        mutableDictionary_ScannerDriverMap[name] = std::move(driver);
    }
}

void TrScannerDriverManager::setCurrentScannerDriverWithName(const std::optional<std::string>& name) {
    currentScannerDriverInformation_.reset();
    auto& center = platform::current().notifications;
    if (!name) {
        center.post(notifications::didSetCurrentDriver, std::nullopt, false);
        return;
    }
    restartScanAssistant();
    const auto driver = mutableDictionary_ScannerDriverMap.find(*name);
    if (driver != mutableDictionary_ScannerDriverMap.end()) {
        currentScannerDriverInformation_ = driver->second;
    }
    center.post(notifications::replySetCurrentDriver,
                Dictionary{{"CurrentDriverName", name->substr(0, name->find(otherDriverSuffix))}}, true);
}

const std::map<std::string, std::string>& TrScannerDriverManager::eventIDMap() {
    if (dictionary_EventIDMap.empty()) {
        dictionary_EventIDMap = {{"100", "201"}, {"101", "202"}, {"102", "203"}, {"105", "204"},
                                 {"0", "205"},   {"6", "206"},   {"7", "207"},   {"8", "208"},
                                 {"9", "209"},   {"10", "210"}};
    }
    return dictionary_EventIDMap;
}

} // namespace trigora
