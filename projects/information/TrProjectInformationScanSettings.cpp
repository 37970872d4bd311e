#include "projects/information/TrProjectInformation.h"

#include "files/TrFilePathUtility.h"
#include "platform/Desktop.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"
#include "platform/Text.h"
#include "projects/information/ProjectFileName.h"
#include "projects/information/ScanToEmailFolder.h"
#include "projects/settings/ScanSettingSchema.h"

#include <algorithm>
#include <array>
#include <utility>

namespace trigora {

using platform::booleanAt;
using platform::integerAt;
using platform::textAt;

namespace {

constexpr std::int32_t scanToEmailProject = 500;

bool isPredefinedProject(std::int32_t projectNumber) {
    constexpr std::array predefined{0, 110, 340, scanToEmailProject, 520, 910, 911, 912, 999};
    return std::find(predefined.begin(), predefined.end(), projectNumber) != predefined.end();
}

/// What stands for "no value" in the dictionary is that there is no entry.
Value valueOrNothing(const std::optional<std::string>& text) { return text ? Value(*text) : Value(); }

} // namespace

// The dictionary as a whole.

void TrProjectInformation::setScanSettings(const Dictionary& scanSettings) {
    scanSettings_ = scanSettings;
    validateFolderPath();
}

void TrProjectInformation::validateFolderPath() {
    if (folderPathFromScanSettings().value_or("").empty()) {
        setFolderPathAtScanSettings(platform::current().folders.documents());
    }
}

void TrProjectInformation::storeAtScanSettings(const ScanSetting& setting, Value value) {
    const std::string key(setting.key);
    if (value.isNothing()) {
        scanSettings_.erase(key);
    } else {
        scanSettings_.insert_or_assign(key, std::move(value));
    }
}

// Defaults.

void TrProjectInformation::PI_SetDefaultScanSettings() {
    for (const ScanSetting& setting : scan_settings::all) {
        if (auto value = defaultOf(setting)) {
            storeAtScanSettings(setting, std::move(*value));
        }
    }
    const auto defaultSize =
        platform::current().stringTable.localizedString("ScanOption.DocumentSize.Default.Text");
    setDocumentSizeAtScanSettings(platform::integerValue(defaultSize));
    setFolderPathAtScanSettings(TrFilePathUtility::sharedFilePathUtility()->documentsFolderPath());
    setDefaultPdfSettings();
    if (projectNumber() == scanToEmailProject) {
        setScanToEmailSettings();
    }
}

void TrProjectInformation::setDefaultPdfSettings() {
    if (isPredefinedProject(projectNumber())) {
        setPdfCompressionAtScanSettings("DEFAULT");
        setPdfSettingFolderAtScanSettings(platform::expandingTildeInPath("~/"));
        return;
    }
    const auto folder = TrFilePathUtility::sharedFilePathUtility()->defaultCustomProjectFolderPath();
    setPdfCompressionAtScanSettings("");
    setPdfSettingFolderAtScanSettings(
        projectName_ ? platform::appendingPathComponent(folder, projectFileName(*projectName_)) : folder);
}

void TrProjectInformation::setScanToEmailSettings() {
    setTwainUIAtScanSettings(true);
    setNoneUIAtScanSettings(false);
    setDocumentSizeAtScanSettings(0);
    setFileFormatAtScanSettings(0);
    setFolderPathAtScanSettings(platform::shared<ScanToEmailFolder>()->begin());
}

// One entry each.

void TrProjectInformation::setDocumentTypeAtScanSettings(std::int64_t documentType) {
    storeAtScanSettings(scan_settings::documentType, documentType);
}
std::optional<std::int64_t> TrProjectInformation::documentTypeFromScanSettings() const {
    return integerAt(scanSettings_, scan_settings::documentType.key);
}

void TrProjectInformation::setDocumentSizeAtScanSettings(std::int64_t documentSize) {
    storeAtScanSettings(scan_settings::documentSize, documentSize);
}
std::optional<std::int64_t> TrProjectInformation::documentSizeFromScanSettings() const {
    return integerAt(scanSettings_, scan_settings::documentSize.key);
}

void TrProjectInformation::setFileFormatAtScanSettings(std::int64_t fileFormat) {
    storeAtScanSettings(scan_settings::fileFormat, fileFormat);
}
std::optional<std::int64_t> TrProjectInformation::fileFormatFromScanSettings() const {
    return integerAt(scanSettings_, scan_settings::fileFormat.key);
}

void TrProjectInformation::setImageTypeAtScanSettings(std::int64_t imageType) {
    storeAtScanSettings(scan_settings::imageType, imageType);
}
std::optional<std::int64_t> TrProjectInformation::imageTypeFromScanSettings() const {
    return integerAt(scanSettings_, scan_settings::imageType.key);
}

void TrProjectInformation::setDocumentSourceAtScanSettings(std::int64_t documentSource) {
    storeAtScanSettings(scan_settings::documentSource, documentSource);
}
std::optional<std::int64_t> TrProjectInformation::documentSourceFromScanSettings() const {
    return integerAt(scanSettings_, scan_settings::documentSource.key);
}

void TrProjectInformation::setResolutionAtScanSettings(std::int64_t resolution) {
    storeAtScanSettings(scan_settings::resolution, resolution);
}
std::optional<std::int64_t> TrProjectInformation::resolutionFromScanSettings() const {
    return integerAt(scanSettings_, scan_settings::resolution.key);
}

void TrProjectInformation::setQualityTypeAtScanSettings(std::int64_t qualityType) {
    storeAtScanSettings(scan_settings::qualityType, qualityType);
}
std::optional<std::int64_t> TrProjectInformation::qualityTypeFromScanSettings() const {
    return integerAt(scanSettings_, scan_settings::qualityType.key);
}

void TrProjectInformation::setOrientationAtScanSettings(std::int64_t orientation) {
    storeAtScanSettings(scan_settings::orientation, orientation);
}
std::optional<std::int64_t> TrProjectInformation::orientationFromScanSettings() const {
    return integerAt(scanSettings_, scan_settings::orientation.key);
}

void TrProjectInformation::setUnSharpMaskAtScanSettings(bool unSharpMask) {
    storeAtScanSettings(scan_settings::unSharpMark, unSharpMask);
}
std::optional<bool> TrProjectInformation::unSharpMaskFromScanSettings() const {
    return booleanAt(scanSettings_, scan_settings::unSharpMark.key);
}

void TrProjectInformation::setDescreenAtScanSettings(bool descreen) {
    storeAtScanSettings(scan_settings::descreen, descreen);
}
std::optional<bool> TrProjectInformation::descreenFromScanSettings() const {
    return booleanAt(scanSettings_, scan_settings::descreen.key);
}

void TrProjectInformation::setAutoEnhanceAtScanSettings(bool autoEnhance) {
    storeAtScanSettings(scan_settings::autoEnhance, autoEnhance);
}
std::optional<bool> TrProjectInformation::autoEnhanceFromScanSettings() const {
    return booleanAt(scanSettings_, scan_settings::autoEnhance.key);
}

void TrProjectInformation::setJpegCompressionAtScanSettings(std::int64_t jpegCompression) {
    storeAtScanSettings(scan_settings::jpegCompression, jpegCompression);
}
std::optional<std::int64_t> TrProjectInformation::jpegCompressionFromScanSettings() const {
    return integerAt(scanSettings_, scan_settings::jpegCompression.key);
}

void TrProjectInformation::setByteOrderAtScanSettings(std::int64_t byteOrder) {
    storeAtScanSettings(scan_settings::byteOrder, byteOrder);
}
std::optional<std::int64_t> TrProjectInformation::byteOrderFromScanSettings() const {
    return integerAt(scanSettings_, scan_settings::byteOrder.key);
}

void TrProjectInformation::setTiffCompressionAtScanSettings(std::int64_t tiffCompression) {
    storeAtScanSettings(scan_settings::tiffCompression, tiffCompression);
}
std::optional<std::int64_t> TrProjectInformation::tiffCompressionFromScanSettings() const {
    return integerAt(scanSettings_, scan_settings::tiffCompression.key);
}

void TrProjectInformation::setFolderPathAtScanSettings(const std::optional<std::string>& folderPath) {
    storeAtScanSettings(scan_settings::folderPath, valueOrNothing(folderPath));
}
std::optional<std::string> TrProjectInformation::folderPathFromScanSettings() const {
    return textAt(scanSettings_, scan_settings::folderPath.key);
}

void TrProjectInformation::setPrefixAtScanSettings(const std::optional<std::string>& prefix) {
    storeAtScanSettings(scan_settings::prefix, valueOrNothing(prefix));
}
std::optional<std::string> TrProjectInformation::prefixFromScanSettings() const {
    return textAt(scanSettings_, scan_settings::prefix.key);
}

void TrProjectInformation::setStartNumberAtScanSettings(std::int64_t startNumber) {
    storeAtScanSettings(scan_settings::startNumber, startNumber);
}
std::optional<std::int64_t> TrProjectInformation::startNumberFromScanSettings() const {
    return integerAt(scanSettings_, scan_settings::startNumber.key);
}

void TrProjectInformation::setPdfCompressionAtScanSettings(const std::optional<std::string>& pdfCompression) {
    storeAtScanSettings(scan_settings::pdfCompression, valueOrNothing(pdfCompression));
}
std::optional<std::string> TrProjectInformation::pdfCompressionFromScanSettings() const {
    return textAt(scanSettings_, scan_settings::pdfCompression.key);
}

void TrProjectInformation::setPdfSettingFolderAtScanSettings(
    const std::optional<std::string>& pdfSettingFolder) {
    storeAtScanSettings(scan_settings::pdfSettingFolder, valueOrNothing(pdfSettingFolder));
}
std::optional<std::string> TrProjectInformation::pdfSettingFolderFromScanSettings() const {
    return textAt(scanSettings_, scan_settings::pdfSettingFolder.key);
}

void TrProjectInformation::setDriverNameAtScanSettings(const std::optional<std::string>& driverName) {
    storeAtScanSettings(scan_settings::driverName, valueOrNothing(driverName));
}
std::optional<std::string> TrProjectInformation::driverNameFromScanSettings() const {
    return textAt(scanSettings_, scan_settings::driverName.key);
}

void TrProjectInformation::setTwainUIAtScanSettings(bool isTwainUI) {
    storeAtScanSettings(scan_settings::twainUI, isTwainUI);
}
std::optional<bool> TrProjectInformation::isTwainUIFromScanSettings() const {
    return booleanAt(scanSettings_, scan_settings::twainUI.key);
}

void TrProjectInformation::setNoneUIAtScanSettings(bool isNoneUI) {
    storeAtScanSettings(scan_settings::noneUI, isNoneUI);
}
std::optional<bool> TrProjectInformation::isNoneUIFromScanSettings() const {
    return booleanAt(scanSettings_, scan_settings::noneUI.key);
}

void TrProjectInformation::PI_SetProjectIDAtScanSettings(const std::optional<std::string>& projectID) {
    storeAtScanSettings(scan_settings::projectID, valueOrNothing(projectID));
}
std::optional<std::string> TrProjectInformation::projectIDFromScanSettings() const {
    return textAt(scanSettings_, scan_settings::projectID.key);
}

void TrProjectInformation::setExtFeatureBitAtScanSettings(Value extFeatureBit) {
    storeAtScanSettings(scan_settings::extFeatureBit, std::move(extFeatureBit));
}
std::optional<Value> TrProjectInformation::extFeatureBitFromScanSettings() const {
    const Value* value = platform::find(scanSettings_, scan_settings::extFeatureBit.key);
    return value ? std::optional(*value) : std::nullopt;
}

void TrProjectInformation::setIPAddressAtScanSettings(const std::optional<std::string>& ipAddress) {
    storeAtScanSettings(scan_settings::ipAddress, valueOrNothing(ipAddress));
}
std::optional<std::string> TrProjectInformation::ipAddressFromScanSettings() const {
    return textAt(scanSettings_, scan_settings::ipAddress.key);
}

} // namespace trigora
