#include "agent/service/ScanEventMapping.h"

#include "agent/event/ScanEventRecord.h"
#include "catalogue/drivers/TrScannerDriverInformation.h"
#include "files/InstalledPaths.h"
#include "files/PxIniParser.h"
#include "files/StringHelpers.h"
#include "platform/Bundles.h"
#include "platform/Desktop.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"
#include "platform/Text.h"

#include <algorithm>

namespace trigora {

namespace {

constexpr std::int32_t versionOfKnownDriver = 375;
constexpr std::size_t modelIDBufferSize = 256;

/// 32-bit arithmetic that wraps: event statuses are untrusted, and any of them must lead to some event ID.
std::int32_t wrappedSum(std::int32_t left, std::int32_t right) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(left) + static_cast<std::uint32_t>(right));
}

std::optional<std::string> capability(const std::string& modelID, const std::string& key) {
    return PxIniParser::sharedParser()->valueWithFilePath(paths::scannerCapabilityFile(), "Model" + modelID,
                                                          key);
}

std::string columnOfModelNames() {
    return platform::firstPreferredLanguage() == "ja" ? "JpDevicename" : "InterDevicename";
}

/// The first row that fits. The driver counts in catch-all rows only: a row with a model's name is for that
/// model alone.
std::optional<std::size_t> matchingRow(const DeviceTable& deviceTable, const std::string& nameColumn,
                                       const std::optional<std::string>& modelName,
                                       const std::optional<std::string>& driverKey) {
    const auto isMatch = [&](const Dictionary& row) {
        const std::optional<std::string> name = platform::textAt(row, nameColumn);
        const std::optional<std::string> driver = platform::textAt(row, "TwainName");
        return name &&
               (name == modelName || (name == "*" && driver && (driver == "*" || driver == driverKey)));
    };
    const auto row = std::ranges::find_if(deviceTable, isMatch);
    return row == deviceTable.end() ? std::nullopt
                                    : std::optional(static_cast<std::size_t>(row - deviceTable.begin()));
}

/// Looks the button up in the row that has been found, if any.
void applyRow(ScanEventMapping& mapping, const std::optional<DeviceTable>& deviceTable) {
    using Rule = ScanEventMapping::Rule;
    if (!mapping.row) {
        mapping.rule = Rule::noRow;
        mapping.eventID = wrappedSum(firstUnmappedEvent, mapping.button);
        return;
    }
    const Dictionary& row = deviceTable->at(*mapping.row);
    if (mapping.button > platform::integerAt(row, "NavBtnNum").value_or(0)) {
        mapping.rule = Rule::beyondRow;
        mapping.eventID = wrappedSum(firstUnmappedEvent, mapping.button);
        return;
    }
    mapping.rule = Rule::column;
    mapping.buttonColumn = "NavBtn" + std::to_string(mapping.button);
    mapping.eventID = static_cast<std::int32_t>(platform::integerAt(row, mapping.buttonColumn).value_or(0));
}

std::string modelIDOfDevice(const std::optional<Dictionary>& deviceInfo) {
    const std::int64_t model =
        platform::integerAt(deviceInfo.value_or(Dictionary{}), "DeviceInfoModelID").value_or(0);
    return hexadecimalStringWithValue(static_cast<std::uint32_t>(model), 4);
}

} // namespace

Dictionary currentEventOf(const ScanEvent& event) {
    Dictionary current{{"initiator", event.initiator}, {"eventStatus", event.eventStatus}};
    if (event.modelName) {
        current["modelName"] = *event.modelName;
    }
    const auto& driverName = event.driverName == sharedDriverName ? event.modelName : event.driverName;
    if (driverName) {
        current["driverName"] = *driverName;
    }
    return current;
}

std::int32_t eventStatusOf(const Dictionary& event) {
    return static_cast<std::int32_t>(platform::integerAt(event, "eventStatus").value_or(0));
}

std::optional<std::string> localAddressOfVersion(std::int32_t version) {
    return version > lastVersionWithoutLocalAddress ? std::optional<std::string>("L") : std::nullopt;
}

ScanSettingsVersion SM_PeloxScanSettingVersion(const std::optional<std::string>& driverName) {
    if (platform::isKnownDriver(driverName, modelIDBufferSize)) {
        return {versionOfKnownDriver, ScanSettingsVersion::Source::driver, {}};
    }
    for (const std::string& path :
         {paths::scanSettingsApplication(), paths::scanSettingsApplicationInUtilities()}) {
        if (const std::int32_t version = SM_VersionWithPath(path); version != 0) {
            return {version, ScanSettingsVersion::Source::application, path};
        }
    }
    return {};
}

std::int32_t SM_VersionWithPath(const std::string& path) {
    if (!platform::current().fileSystem.exists(path)) {
        return 0;
    }
    const auto bundle = platform::current().bundles.create(path);
    const auto version =
        bundle ? platform::textAt(bundle->infoDictionary(), "CFBundleVersion") : std::nullopt;
    return version ? platform::integerValue(platform::replacingOccurrences(*version, ".", "")) : 0;
}

std::int32_t SM_FeatureBitOfModelID(const std::optional<std::string>& modelID) {
    const auto featureBits = modelID ? capability(*modelID, "ModifiedEvent") : std::nullopt;
    return featureBits ? platform::integerValue(*featureBits) : 0;
}

ScanEventMapping SM_MappingEventIDWithDevInfo(const Dictionary& event,
                                              const std::optional<Dictionary>& deviceInfo,
                                              const std::optional<DeviceTable>& deviceTable) {
    const std::string modelID = modelIDOfDevice(deviceInfo);
    ScanEventMapping mapping;
    mapping.modelID = modelID;
    mapping.eventStatus = eventStatusOf(event);
    mapping.featureBits = SM_FeatureBitOfModelID(modelID);
    mapping.button = mapping.eventStatus & ~mapping.featureBits;
    mapping.jobDeviceType = capability(modelID, "JobDeviceType");
    mapping.nameColumn = columnOfModelNames();
    if (platform::integerValue(mapping.jobDeviceType.value_or("")) ==
        TrScannerDriverInformation::typeWithJobButtons) {
        mapping.rule = ScanEventMapping::Rule::jobButtons;
        mapping.eventID = wrappedSum(firstJobEvent, mapping.button);
        return mapping;
    }
    const std::optional<std::string> alias = capability(modelID, "DevInfAlias");
    mapping.isAlias = alias.has_value();
    mapping.driverKey = alias ? alias : platform::textAt(event, "driverName");
    if (deviceTable) {
        mapping.row = matchingRow(*deviceTable, mapping.nameColumn, platform::textAt(event, "modelName"),
                                  mapping.driverKey);
    }
    applyRow(mapping, deviceTable);
    return mapping;
}

} // namespace trigora
