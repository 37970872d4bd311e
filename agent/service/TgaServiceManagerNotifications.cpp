// What the service manager does when another application reports something.

#include "agent/service/TgaServiceManager.h"

#include "agent/log/Guarded.h"
#include "agent/service/ScanEventMapping.h"
#include "catalogue/drivers/TrScannerDriverInformation.h"
#include "files/NotificationNames.h"
#include "files/PxIniParser.h"
#include "platform/Platform.h"
#include "projects/information/TrProjectInformation.h"
#include "projects/manager/CachedCatalogues.h"
#include "projects/manager/TrProjectManager.h"
#include "runners/actions/TgaActionRunner.h"
#include "runners/actions/TgaActionRunnerManager.h"
#include "runners/launch/TrLaunchApplicationManager.h"

namespace trigora {

namespace {

Dictionary userInfoOf(const platform::Notification& notification) {
    return notification.userInfo.value_or(Dictionary{});
}

/// The paths among the entries of "ScanResult".
std::vector<std::string> textsOf(const Array& list) {
    std::vector<std::string> texts;
    for (const Value& entry : list) {
        if (const std::string* text = entry.text()) {
            texts.push_back(*text);
        }
    }
    return texts;
}

/// The project of a test scan with the scan settings that came with it; null when either is missing.
std::shared_ptr<TrProjectInformation> testScanProject(const Dictionary& testScanInfo,
                                                      const std::optional<std::string>& driverName) {
    const std::optional<std::string> path = platform::textAt(testScanInfo, "TestScanProjectFilePath");
    const std::optional<Dictionary> settings = platform::dictionaryAt(testScanInfo, "TestScanScanSettings");
    if (!path || !settings) {
        return nullptr;
    }
    // The file is read afresh and forgotten again: what is given for the test never lingers.
    const auto parser = PxIniParser::sharedParser();
    parser->removeItemAtPath(*path);
    auto project = TrProjectInformation::initWithPath(*path);
    project->setScanSettings(*settings);
    project->setDriverNameAtScanSettings(driverName);
    parser->removeItemAtPath(*path);
    return project;
}

} // namespace

void TgaServiceManager::postScanEventDidFinish() {
    platform::current().notifications.post(notifications::scanEventDidFinish, std::nullopt, false);
}

void TgaServiceManager::SM_ScanDidFinish(const platform::Notification& notification) {
    const std::optional<Array> scanResult = platform::arrayAt(userInfoOf(notification), "ScanResult");
    const auto runnerManager = TgaActionRunnerManager::sharedActionRunnerManager();
    if (const auto runner = runnerManager->currentActionRunner(); runner && scanResult) {
        guarded("-[TgaServiceManager SM_ScanDidFinish:]", [&] {
            runner->setScanDataFileList(textsOf(*scanResult));
            runner->performAction();
        });
    }
    runnerManager->setCurrentActionRunner(nullptr);
    TrLaunchApplicationManager::sharedLaunchApplicationManager()->terminateScanAssistantWithWait();
    TrProjectManager::setRunningProjectStatus(false);
    postScanEventDidFinish();
}

void TgaServiceManager::SM_PeloxScanLaunchingDidFinish(const platform::Notification&) {
    TrLaunchApplicationManager::sharedLaunchApplicationManager()->terminateScanAssistant();
}

void TgaServiceManager::SM_ReplyDriverNameWithIPAddressDidFinish(const platform::Notification& notification) {
    {
        auto driverName = platform::textAt(userInfoOf(notification), "DriverName");
        const std::lock_guard lock(mutex_);
        if (driverName && !driverName->empty()) {
            string_ScannerName = std::move(driverName);
        }
        isDriverNameAnswered_ = true;
    }
    TrLaunchApplicationManager::sharedLaunchApplicationManager()->terminateScanAssistantWithWait();
}

void TgaServiceManager::SM_ScanSettingsDidChange(const platform::Notification&) { SM_RefreshDataManager(); }

void TgaServiceManager::SM_MonitorFolderSettingsDidChange(const platform::Notification&) {
    SM_RefreshDataManager();
    SM_RunMonitorFolder();
}

void TgaServiceManager::SM_TestScanningWillStart(const platform::Notification& notification) {
    const Dictionary userInfo = userInfoOf(notification);
    const Dictionary driverInfo =
        platform::dictionaryAt(userInfo, "TestScanDriverInfo").value_or(Dictionary{});
    if (!platform::textAt(driverInfo, "DriverInfoDrivername")) {
        postScanEventDidFinish();
        return;
    }
    const auto launcher = TrLaunchApplicationManager::sharedLaunchApplicationManager();
    launcher->terminateScanAssistantWithWait();
    endRunOfDeadScanAssistant();
    launcher->launchScanAssistantWithWait();
    const std::optional<Dictionary> deviceInfo = platform::dictionaryAt(userInfo, "TestScanDeviceInfo");
    const std::int32_t result = deviceInfo ? SM_RunTestScan(*deviceInfo, userInfo) : -1;
    if (result != 0) {
        postScanEventDidFinish();
    }
}

std::int32_t TgaServiceManager::SM_RunTestScan(const Dictionary& deviceInfo,
                                               const Dictionary& dictionary_TestScanInfo) {
    const auto driverInfo = platform::dictionaryAt(dictionary_TestScanInfo, "TestScanDriverInfo");
    if (!driverInfo) {
        return -1;
    }
    const auto driver = TrScannerDriverInformation::initWithDriverInformation(*driverInfo);
    driver->setDeviceInfo(deviceInfo);
    const auto project = testScanProject(dictionary_TestScanInfo, driver->driverName());
    const std::optional<std::string> eventID = platform::textAt(dictionary_TestScanInfo, "TestScanEventID");
    if (!project || !eventID) {
        return -1;
    }
    const std::int32_t version = SM_PeloxScanSettingVersion(driver->driverName()).version;
    runProject(project, driver, *eventID, localAddressOfVersion(version));
    return 0;
}

} // namespace trigora
