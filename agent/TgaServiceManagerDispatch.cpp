// From the scanner driver's button event to the run of a project.

#include "agent/TgaServiceManager.h"

#include "agent/PSlog.h"
#include "agent/ScanEventRecord.h"
#include "catalogue/TrEventInformation.h"
#include "catalogue/TrEventManager.h"
#include "catalogue/TrScannerDriverInformation.h"
#include "files/InstalledPaths.h"
#include "files/PxIniParser.h"
#include "files/StringHelpers.h"
#include "platform/Bundles.h"
#include "platform/Desktop.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"
#include "platform/Text.h"
#include "projects/TrProjectInformation.h"
#include "projects/TrProjectManager.h"
#include "runners/TgaActionRunner.h"
#include "runners/TgaActionRunnerManager.h"
#include "runners/TrLaunchApplicationManager.h"

#include <algorithm>

namespace trigora {

namespace {

constexpr std::uint32_t directParameter = platform::fourCharCode("----");
constexpr std::int32_t versionOfKnownDriver = 375;
constexpr std::int32_t lastVersionWithoutLocalAddress = 374;
constexpr std::size_t modelIDBufferSize = 256;

// A device table beyond these is no device table but a damaged file.
constexpr std::uint64_t deviceTableSizeLimit = 1U << 20;
constexpr std::size_t deviceTableRowLimit = 20000;

/// 32-bit arithmetic that wraps: event statuses are untrusted, and any of them must give some event ID.
std::int32_t wrappedSum(std::int32_t left, std::int32_t right) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(left) + static_cast<std::uint32_t>(right));
}

std::int32_t eventStatusOf(const Dictionary& event) {
    return static_cast<std::int32_t>(platform::integerAt(event, "eventStatus").value_or(0));
}

std::optional<std::string> capability(const std::string& modelID, const std::string& key) {
    return PxIniParser::sharedParser()->valueWithFilePath(paths::scannerCapabilityFile(), "Model" + modelID,
                                                          key);
}

void showNotSupportedEvent() {
    platform::StringTable& texts = platform::current().stringTable;
    platform::current().alertPanel.run(texts.localizedString("Message.Title"),
                                       texts.localizedString("Message.Error.NotSupportedEvent"),
                                       texts.localizedString("Message.Button.OK"));
}

/// The press as the current event holds it, without the address.
Dictionary currentEventOf(const ScanEvent& event) {
    Dictionary current{{"initiator", event.initiator}, {"eventStatus", event.eventStatus}};
    if (event.modelName) {
        current["modelName"] = *event.modelName;
    }
    // The driver of this name serves many models: there the model's name tells them apart.
    const auto& driverName = event.driverName == "PELOX Scanner" ? event.modelName : event.driverName;
    if (driverName) {
        current["driverName"] = *driverName;
    }
    return current;
}

} // namespace

void TgaServiceManager::SM_HandleScanEvent(const platform::AppleEvent& event, platform::AppleEvent&) {
    constexpr const char* name = "-[TgaServiceManager SM_HandleScanEvent:withReplyEvent:]";
    PSlog("%s Enter [Line %d] ", name, __LINE__);
    const platform::AppleEventParameter* record = event.parameter(directParameter);
    const std::optional<ScanEvent> scanEvent = record ? decodeScanEvent(record->bytes) : std::nullopt;
    if (!scanEvent) {
        return;
    }
    endRunOfDeadScanAssistant();
    Dictionary current = currentEventOf(*scanEvent);
    if (const auto address = addressOfDriver(platform::textAt(current, "driverName"))) {
        current["IPAddress"] = *address;
    }
    setCurrentEvent(current);
    TrLaunchApplicationManager::sharedLaunchApplicationManager()->launchScanAssistantWithWait();
    PSlog("%s Leave [Line %d] ", name, __LINE__);
    requestConfirmation(current);
    isPressWaiting_ = true;
    mayRepeatRequest_ = true;
    watchScanAssistant();
}

void TgaServiceManager::requestConfirmation(const Dictionary& event) {
    Dictionary request;
    if (const auto driverName = platform::textAt(event, "driverName")) {
        request["DriverName"] = *driverName;
    }
    if (const auto address = platform::textAt(event, "IPAddress")) {
        request["IPAddress"] = *address;
    }
    platform::current().notifications.post("ReplyScannerConfirmationDistributedNotification", request, true);
}

std::optional<std::string>
TgaServiceManager::addressOfDriver(const std::optional<std::string>& driverName) const {
    return SM_PeloxScanSettingVersion(driverName) > lastVersionWithoutLocalAddress
               ? std::optional<std::string>("L")
               : std::nullopt;
}

std::int32_t
TgaServiceManager::SM_PeloxScanSettingVersion(const std::optional<std::string>& driverName) const {
    platform::IDConverter& converter = platform::current().idConverter;
    if (driverName && converter.hasModelIDWithTwainID() &&
        converter.PS2GetModelIDWithTwainID(*driverName, modelIDBufferSize) == 0) {
        return versionOfKnownDriver;
    }
    const std::int32_t version = SM_VersionWithPath(paths::scanSettingsApplication());
    return version != 0 ? version : SM_VersionWithPath(paths::scanSettingsApplicationInUtilities());
}

std::int32_t TgaServiceManager::SM_VersionWithPath(const std::string& path) const {
    if (!platform::current().fileSystem.exists(path)) {
        return 0;
    }
    const auto bundle = platform::current().bundles.create(path);
    const auto version =
        bundle ? platform::textAt(bundle->infoDictionary(), "CFBundleVersion") : std::nullopt;
    return version ? platform::integerValue(platform::replacingOccurrences(*version, ".", "")) : 0;
}

void TgaServiceManager::SM_ScannerConfirmationDidFinish(const platform::Notification& notification) {
    constexpr const char* name = "-[TgaServiceManager SM_ScannerConfirmationDidFinish:]";
    PSlog("%s Enter [Line %d] ", name, __LINE__);
    const Dictionary userInfo = notification.userInfo.value_or(Dictionary{});
    const std::int64_t result = platform::integerAt(userInfo, "ScannerConfirmResult").value_or(-1);
    PSlog("%s [Line %d] result_Int = %d", name, __LINE__, result);
    bool isFailed = result != 0;
    const auto runnerManager = TgaActionRunnerManager::sharedActionRunnerManager();
    if (const auto runner = runnerManager->currentActionRunner()) {
        PSlog("%s [Line %d] executeAction", name, __LINE__);
        if (result == 0) {
            runner->performAction();
        }
        runnerManager->setCurrentActionRunner(nullptr);
        TrProjectManager::sharedProjectManager()->setRunningProjectStatus(false);
    } else if (result == 0) {
        PSlog("%s [Line %d] confirmAction", name, __LINE__);
        isFailed = !confirmAction(userInfo);
        if (isFailed) {
            PSlog("%s [Line %d] SM_CheckEventInfo fails", name, __LINE__);
        }
    }
    if (isFailed) {
        PSlog("%s [Line %d] receiveError", name, __LINE__);
        TrLaunchApplicationManager::sharedLaunchApplicationManager()->terminateScanAssistant();
        platform::current().notifications.post("ScanEventDidFinishNotification", std::nullopt, false);
    }
    PSlog("%s Leave [Line %d] ", name, __LINE__);
    setCurrentEvent(std::nullopt);
    isPressWaiting_ = false;
}

bool TgaServiceManager::confirmAction(const Dictionary& userInfo) {
    const std::optional<std::string> driverName = platform::textAt(currentEvent(), "driverName");
    std::optional<Dictionary> deviceInfo;
    if (const auto updated = platform::dictionaryAt(userInfo, "UpdatedDeviceInfo"); updated && driverName) {
        deviceInfo = platform::dictionaryAt(*updated, *driverName);
    }
    return SM_CheckEventInfo(deviceInfo, platform::textAt(userInfo, "ScannerVersion"));
}

bool TgaServiceManager::SM_CheckEventInfo(const std::optional<Dictionary>& deviceInfo,
                                          const std::optional<std::string>& scannerVersion) {
    constexpr const char* name = "-[TgaServiceManager SM_CheckEventInfo:scannerVersion:]";
    PSlog("%s [Line %d] ", name, __LINE__);
    const std::optional<std::string> driverName = platform::textAt(currentEvent(), "driverName");
    PSlog("%s [Line %d] driverName_String = %@", name, __LINE__, driverName);
    if (!driverName) {
        return false;
    }
    const std::int64_t model =
        platform::integerAt(deviceInfo.value_or(Dictionary{}), "DeviceInfoModelID").value_or(0);
    const std::string modelID = hexadecimalStringWithValue(static_cast<std::uint32_t>(model), 4);
    const std::int32_t eventID = SM_MappingEventIDWithDevInfo(deviceInfo, modelID);
    bool isEventAction = false;
    // Only these two are refused, although the table may name others that no project supports.
    if (eventID == 103 || eventID == 104) {
        showNotSupportedEvent();
    } else {
        isEventAction = SM_EventAction(std::to_string(eventID), deviceInfo, scannerVersion);
    }
    PSlog("%s Leave [Line %d] ", name, __LINE__);
    return isEventAction;
}

std::int32_t TgaServiceManager::SM_FeatureBitOfModelID(const std::optional<std::string>& modelID) const {
    const auto featureBits = modelID ? capability(*modelID, "ModifiedEvent") : std::nullopt;
    return featureBits ? platform::integerValue(*featureBits) : 0;
}

std::int32_t TgaServiceManager::SM_MappingEventIDWithDevInfo(const std::optional<Dictionary>&,
                                                             const std::string& modelID) const {
    const Dictionary event = currentEvent();
    const std::int32_t button = eventStatusOf(event) & ~SM_FeatureBitOfModelID(modelID);
    if (platform::integerValue(capability(modelID, "JobDeviceType").value_or("")) == 1) {
        return wrappedSum(200, button);
    }
    const std::optional<std::string> alias = capability(modelID, "DevInfAlias");
    const Dictionary* row = deviceTableRow(platform::textAt(event, "modelName"),
                                           alias ? alias : platform::textAt(event, "driverName"));
    if (row == nullptr || button > platform::integerAt(*row, "NavBtnNum").value_or(0)) {
        return wrappedSum(100, button);
    }
    const std::string column = "NavBtn" + std::to_string(button);
    return static_cast<std::int32_t>(platform::integerAt(*row, column).value_or(0));
}

const Dictionary* TgaServiceManager::deviceTableRow(const std::optional<std::string>& modelName,
                                                    const std::optional<std::string>& driverKey) const {
    if (!array_DeviceInfoList) {
        return nullptr;
    }
    const std::string nameColumn =
        platform::firstPreferredLanguage() == "ja" ? "JpDevicename" : "InterDevicename";
    // The driver counts in catch-all rows only: a row with a model's name is for that model alone.
    const auto isMatch = [&](const Dictionary& row) {
        const std::optional<std::string> name = platform::textAt(row, nameColumn);
        const std::optional<std::string> driver = platform::textAt(row, "TwainName");
        return name &&
               (name == modelName || (name == "*" && driver && (driver == "*" || driver == driverKey)));
    };
    const auto row = std::find_if(array_DeviceInfoList->begin(), array_DeviceInfoList->end(), isMatch);
    return row == array_DeviceInfoList->end() ? nullptr : &*row;
}

bool TgaServiceManager::SM_EventAction(const std::string& eventID,
                                       const std::optional<Dictionary>& deviceInfo,
                                       const std::optional<std::string>& scannerVersion) {
    constexpr const char* name = "-[TgaServiceManager SM_EventAction:deviceInfo:scannerVersion:]";
    PSlog("%s Enter [Line %d] ", name, __LINE__);
    const Dictionary event = currentEvent();
    const std::optional<std::string> driverName = platform::textAt(event, "driverName");
    if (!driverName) {
        PSlog("%s [Line %d] driverName_String = %@", name, __LINE__, driverName);
        return false;
    }
    const auto driver = driverOfEvent(*driverName, deviceInfo, scannerVersion);
    TrEventManager::sharedEventManager()->setScanEventPathWithModelID(driver->hexadecimalModelID());
    if (driver->driverType() == 1) {
        static_cast<void>(driver->numberOfButton()); // asked for, although nobody uses the answer
    }
    const auto project = projectOfEvent(eventID, driver);
    const bool isEventAction = project != nullptr;
    if (isEventAction) {
        const std::optional<std::string> address = platform::textAt(event, "IPAddress");
        project->setExtFeatureBitAtScanSettings(static_cast<std::uint32_t>(eventStatusOf(event)));
        project->setDriverNameAtScanSettings(*driverName);
        project->setIPAddressAtScanSettings(address);
        project->setProjectID(project->projectID()); // puts the ID into the scan settings again
        TrProjectManager::sharedProjectManager()->runProject(project, driver, eventID, address);
        watchScanAssistant();
    }
    PSlog("%s Leave [Line %d] isEventAction_BOOL = %d", name, __LINE__, isEventAction);
    return isEventAction;
}

std::shared_ptr<TrScannerDriverInformation>
TgaServiceManager::driverOfEvent(const std::string& driverName, const std::optional<Dictionary>& deviceInfo,
                                 const std::optional<std::string>& scannerVersion) {
    Dictionary driverInfo{{"DriverInfoDrivername", driverName}, {"DriverInfoMakerName", "PELOX"}};
    if (scannerVersion) {
        driverInfo["DriverInfoDriverVersion"] = *scannerVersion;
    }
    auto driver = TrScannerDriverInformation::initWithDriverInformation(driverInfo);
    driver->setDeviceInfo(deviceInfo);
    return driver;
}

std::shared_ptr<TrProjectInformation>
TgaServiceManager::projectOfEvent(const std::string& eventID,
                                  const std::shared_ptr<TrScannerDriverInformation>& driver) {
    const auto event = TrEventManager::sharedEventManager()->eventInformationWithEventID(eventID);
    const std::optional<std::string> projectID = event ? event->connectedProjectID(driver) : std::nullopt;
    const auto projectManager = TrProjectManager::sharedProjectManager();
    projectManager->setScanProjectListWithScannerDriver(driver);
    if (!projectID || platform::integerValue(*projectID) == 0) {
        return nullptr;
    }
    auto project = projectManager->projectInformationWithProjectID(*projectID);
    return project && TrProjectManager::isAvailableProject(project, driver) ? project : nullptr;
}

void TgaServiceManager::SM_ReadDevInfFile() {
    const auto attributes = platform::current().fileMetadata.attributes(paths::deviceTableFile(), true);
    if (!attributes || attributes->size > deviceTableSizeLimit) {
        return;
    }
    const auto text = exStringWithContentsOfFile(paths::deviceTableFile(), platform::Encoding::utf8);
    if (!text) {
        return;
    }
    const std::vector<std::string> keyList{
        "TwainName", "InterDevicename", "JpDevicename", "NavBtnNum", "NavBtn1", "NavBtn2", "NavBtn3",
        "NavBtn4",   "NavBtn5",         "NavBtn6",      "NavBtn7",   "NavBtn8", "NavBtn9", "NavBtn10"};
    const std::vector<std::string> lines = componentsSeparatedByParagraph(*text);
    if (lines.size() > deviceTableRowLimit) {
        return;
    }
    std::vector<Dictionary> rows;
    rows.reserve(lines.size());
    for (const std::string& line : lines) {
        rows.push_back(SM_ConvertDevInfoDictionaryFromString(line, keyList));
    }
    array_DeviceInfoList = std::move(rows);
}

Dictionary TgaServiceManager::SM_ConvertDevInfoDictionaryFromString(const std::string& line,
                                                                    const std::vector<std::string>& keyList) {
    constexpr std::string_view buttonPrefix = "NavBtn";
    const std::vector<std::string> fields = platform::componentsSeparatedByString(line, ",");
    Dictionary row;
    for (std::size_t column = 0; column < keyList.size(); ++column) {
        const std::string& key = keyList[column];
        std::optional<std::string> field;
        if (column < fields.size()) {
            field = platform::trimmed(fields[column], "\"");
        }
        if (key.starts_with(buttonPrefix)) {
            // A missing button stands for itself; of "NavBtnNum" there is no number left, which reads as 0.
            row[key] = platform::integerValue(field ? *field : key.substr(buttonPrefix.size()));
        } else if (field) {
            row[key] = std::move(*field);
        }
    }
    return row;
}

} // namespace trigora
