#include "catalogue/drivers/TrScannerDriverInformation.h"

#include "catalogue/identifiers/EventKinds.h"
#include "files/InstalledPaths.h"
#include "files/PxIniParser.h"
#include "files/StringHelpers.h"
#include "platform/Text.h"

namespace trigora {

namespace {

constexpr int modelIDDigits = 4;
/// The capability file numbers the device types from 0 to 6.
constexpr std::int32_t deviceTypeCount = 7;

} // namespace

std::shared_ptr<TrScannerDriverInformation>
TrScannerDriverInformation::initWithDriverInformation(const Dictionary& driverInformation) {
    auto driver = std::make_shared<TrScannerDriverInformation>();
    driver->string_DriverName = platform::textAt(driverInformation, "DriverInfoDrivername");
    driver->string_Version = platform::textAt(driverInformation, "DriverInfoDriverVersion");
    driver->string_MakerName = platform::textAt(driverInformation, "DriverInfoMakerName");
    return driver;
}

void TrScannerDriverInformation::setDeviceInfo(const std::optional<Dictionary>& deviceInfo) {
    mutableDictionary_DeviceInfo.clear();
    if (deviceInfo) {
        mutableDictionary_DeviceInfo = *deviceInfo;
        SDI_ReadCapability();
    }
}

void TrScannerDriverInformation::SDI_ReadCapability() {
    const std::string section = "Model" + hexadecimalModelID().value_or("");
    const auto read = [&section](const char* key) {
        return PxIniParser::sharedParser()->valueWithFilePath(paths::scannerCapabilityFile(), section, key);
    };
    const std::int32_t type = platform::integerValue(read("JobDeviceType").value_or(""));
    number_DeviceType = type < deviceTypeCount ? type : 0;
    number_NumberOfButton = platform::integerValue(read("NumJobEvents").value_or(""));
    bool_IsDependency = read("ModelDependency") == "1";
    string_DeviceSettingAlias = read("DeviceSettingAlias");
    string_EventAliasKeyName = read("DevInfAlias");
    string_DuplexPaperMinSize = read("DuplexPaperMinSize");
    string_DuplexPaperMaxSize = read("DuplexPaperMaxSize");
}

std::optional<std::string> TrScannerDriverInformation::hexadecimalModelID() const {
    const auto model = static_cast<std::int32_t>(modelID().value_or(0)); // of a larger number, its low bits
    if (model < 1) {
        return std::nullopt;
    }
    return hexadecimalStringWithValue(static_cast<std::uint32_t>(model), modelIDDigits);
}

std::int32_t TrScannerDriverInformation::supportEventType() const {
    switch (number_DeviceType) {
    case 0:
        return number_NumberOfButton == 4 ? event_kinds::button
                                          : event_kinds::button | event_kinds::anyButtons;
    case typeWithJobButtons:
        return event_kinds::job;
    case 2:
        return number_NumberOfButton == 3 ? event_kinds::fourth
                                          : event_kinds::fourth | event_kinds::anyButtons;
    case 6:
        return number_NumberOfButton == 4 ? event_kinds::fifth : event_kinds::button;
    default:
        return event_kinds::button;
    }
}

std::optional<std::int64_t> TrScannerDriverInformation::modelID() const {
    return platform::integerAt(mutableDictionary_DeviceInfo, "DeviceInfoModelID");
}

std::optional<std::int64_t> TrScannerDriverInformation::flatbedScanAreaWidth() const {
    return platform::integerAt(mutableDictionary_DeviceInfo, "DeviceInfoFlatbedScanAreaWidth");
}

std::optional<std::int64_t> TrScannerDriverInformation::flatbedScanAreaHeight() const {
    return platform::integerAt(mutableDictionary_DeviceInfo, "DeviceInfoFlatbedScanAreaHeight");
}

std::optional<std::int64_t> TrScannerDriverInformation::adfScanAreaWidth() const {
    return platform::integerAt(mutableDictionary_DeviceInfo, "DeviceInfoAdfScanAreaWidth");
}

std::optional<std::int64_t> TrScannerDriverInformation::adfScanAreaHeight() const {
    return platform::integerAt(mutableDictionary_DeviceInfo, "DeviceInfoAdfScanAreaHeight");
}

std::optional<std::int64_t> TrScannerDriverInformation::duplexAdfScanAreaWidth() const {
    return platform::integerAt(mutableDictionary_DeviceInfo, "DeviceInfoDuplexAdfScanAreaWidth");
}

std::optional<std::int64_t> TrScannerDriverInformation::duplexAdfScanAreaHeight() const {
    return platform::integerAt(mutableDictionary_DeviceInfo, "DeviceInfoDuplexAdfScanAreaHeight");
}

bool TrScannerDriverInformation::isFlatSupport() const {
    return platform::booleanAt(mutableDictionary_DeviceInfo, "DeviceInfoEnableFlat").value_or(false);
}

bool TrScannerDriverInformation::isADFSupport() const {
    return platform::booleanAt(mutableDictionary_DeviceInfo, "DeviceInfoEnableADF").value_or(false);
}

bool TrScannerDriverInformation::isDuplexSupport() const {
    return platform::booleanAt(mutableDictionary_DeviceInfo, "DeviceInfoEnableDuplex").value_or(false);
}

bool TrScannerDriverInformation::isADFHasPaper() const {
    return platform::booleanAt(mutableDictionary_DeviceInfo, "DeviceInfoIsADFHasPaper").value_or(false);
}

std::optional<std::int64_t> TrScannerDriverInformation::xDPIMinimum() const {
    return platform::integerAt(mutableDictionary_DeviceInfo, "DeviceInfoXdpiMin");
}

std::optional<std::int64_t> TrScannerDriverInformation::xDPIMaximum() const {
    return platform::integerAt(mutableDictionary_DeviceInfo, "DeviceInfoXdpiMax");
}

std::optional<std::int64_t> TrScannerDriverInformation::yDPIMinimum() const {
    return platform::integerAt(mutableDictionary_DeviceInfo, "DeviceInfoYdpiMin");
}

std::optional<std::int64_t> TrScannerDriverInformation::yDPIMaximum() const {
    return platform::integerAt(mutableDictionary_DeviceInfo, "DeviceInfoYdpiMax");
}

bool TrScannerDriverInformation::isNoneUI() const {
    return platform::booleanAt(mutableDictionary_DeviceInfo, "DeviceInfoIsSupportNoneUI").value_or(false);
}

bool TrScannerDriverInformation::isRunICAMode() const {
    return platform::booleanAt(mutableDictionary_DeviceInfo, "DeviceInfoIsRunICAMode").value_or(false);
}

bool TrScannerDriverInformation::isDeviceConnected() const {
    return platform::booleanAt(mutableDictionary_DeviceInfo, "DeviceInfoIsDeviceConnected").value_or(false);
}

} // namespace trigora
