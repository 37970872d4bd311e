#include "tools/rehearsal/PressRehearsal.h"

#include "agent/event/ScanEventRecord.h"
#include "agent/service/DeviceTable.h"
#include "agent/service/TgaServiceManager.h"
#include "catalogue/drivers/TrScannerDriverInformation.h"
#include "catalogue/events/TrEventManager.h"
#include "files/InstalledPaths.h"
#include "files/NotificationNames.h"
#include "files/TrFilePathUtility.h"
#include "platform/FileSystem.h"
#include "platform/Text.h"
#include "tools/overlay/OverlayFiles.h"
#include "tools/settings/DamagedFiles.h"

#include <algorithm>

namespace trigora::tools {

namespace {

using Effects = std::vector<RehearsedEffect>;

const RehearsedEffect* postNamed(const Effects& effects, std::string_view name) {
    const auto post = std::ranges::find_if(effects, [&](const RehearsedEffect& effect) {
        return effect.kind == RehearsedEffect::Kind::post && effect.target == name;
    });
    return post == effects.end() ? nullptr : &*post;
}

/// Whether it gives an application something to do.
bool isWork(const RehearsedEffect& effect) {
    switch (effect.kind) {
    case RehearsedEffect::Kind::post:
        return effect.target == notifications::replyLaunchPlScan;
    case RehearsedEffect::Kind::launch:
        return !effect.problem && effect.target != paths::scanAssistantExecutable();
    case RehearsedEffect::Kind::open:
        return !effect.problem;
    case RehearsedEffect::Kind::send:
        return true;
    case RehearsedEffect::Kind::message:
        break;
    }
    return false;
}

ScanEvent scanEventOf(const RehearsedPress& press) {
    return {.modelName = press.model, .driverName = press.driver, .eventStatus = press.eventStatus};
}

Dictionary confirmationOf(const RehearsedPress& press, const std::string& driverName) {
    return {{"ScannerConfirmResult", 0},
            {"ScannerVersion", press.scannerVersion},
            {"UpdatedDeviceInfo", Dictionary{{driverName, press.deviceInfo}}}};
}

/// Where the scan assistant is asked to put the pages; it makes the folder.
std::string scanFolderOf(const RehearsedEffect& request) {
    const Dictionary userInfo = request.userInfo.value_or(Dictionary());
    const Dictionary settings = platform::dictionaryAt(userInfo, "ScanSettings").value_or(Dictionary());
    return platform::textAt(settings, "folderPath").value_or("");
}

std::optional<std::string> existingBindingsFile(const std::optional<std::string>& modelID) {
    std::string path = bindingsFileInUse(modelID);
    return platform::current().fileSystem.exists(path) ? std::optional(std::move(path)) : std::nullopt;
}

} // namespace

PressRehearsal::PressRehearsal(const RehearsedPress& press)
    : isAssistantInstalled_(platform::current().fileSystem.exists(paths::scanAssistantExecutable())) {
    const Data record = encodeScanEvent(scanEventOf(press));
    event_ = currentEventOf(decodeScanEvent(record).value_or(ScanEvent()));
    settingsVersion_ = SM_PeloxScanSettingVersion(driverName());
    if (const auto address = localAddressOfVersion(settingsVersion_.version)) {
        event_["IPAddress"] = *address;
    }
    if (driverName()) {
        driver_ = driverOfScanEvent(*driverName(), press.deviceInfo, press.scannerVersion);
        bindingsFile_ = existingBindingsFile(driver_->hexadecimalModelID());
        wouldMakeProjectFolder_ = !platform::current().fileSystem.exists(
            TrFilePathUtility::sharedFilePathUtility()->customProjectPathWithScannerDriver(driver_));
    }
    rehearse(press);
    if (isConfirmed()) {
        findReasons(press);
    }
}

void PressRehearsal::rehearse(const RehearsedPress& press) {
    TgaServiceManager::sharedServiceManager()->setupService();
    platform_.takeEffects();
    platform_.receive(scanButtonEvent(scanEventOf(press)));
    request_ = platform_.takeEffects();
    if (!isAssistantInstalled_) {
        return;
    }
    const char* confirmed = notifications::didFinishScannerConfirmation;
    const Dictionary confirmation = confirmationOf(press, driverName().value_or(""));
    platform_.receive(confirmed, confirmation);
    start_ = platform_.takeEffects();
    if (const RehearsedEffect* scan = postNamed(start_, notifications::replyScan)) {
        const std::string folder = scanFolderOf(*scan);
        platform_.files().createDirectory(folder, true, std::nullopt);
        const std::string file = platform::appendingPathComponent(folder, scannedFiles);
        platform_.receive(notifications::didFinishScan, {{"ScanResult", Array{file}}});
    } else if (postNamed(start_, notifications::replyScannerConfirmation) != nullptr) {
        platform_.receive(confirmed, confirmation);
    }
    action_ = platform_.takeEffects();
}

void PressRehearsal::findReasons(const RehearsedPress& press) {
    const std::optional<DeviceTable> deviceTable = readDeviceTable();
    hasDeviceTable_ = deviceTable.has_value();
    mapping_ = SM_MappingEventIDWithDevInfo(event_, press.deviceInfo, deviceTable);
    if (isRefusedEvent(mapping_.eventID)) {
        driver_ = nullptr;
        return;
    }
    TrEventManager::sharedEventManager()->setScanEventPathWithModelID(driver_->hexadecimalModelID());
    project_ = projectOfScanEvent(std::to_string(mapping_.eventID), driver_);
}

bool PressRehearsal::wouldScan() const { return postNamed(start_, notifications::replyScan) != nullptr; }

bool PressRehearsal::wouldRun() const {
    return wouldScan() || std::ranges::any_of(start_, isWork) || std::ranges::any_of(action_, isWork);
}

} // namespace trigora::tools
