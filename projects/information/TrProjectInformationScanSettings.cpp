#include "projects/information/TrProjectInformation.h"

#include "files/TrFilePathUtility.h"
#include "platform/Desktop.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"
#include "platform/Text.h"
#include "projects/information/ProjectFileName.h"
#include "projects/information/ScanToEmailFolder.h"

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

void TrProjectInformation::storeAtScanSettings(const std::string& key, Value value) {
    if (value.isNothing()) {
        scanSettings_.erase(key);
    } else {
        scanSettings_.insert_or_assign(key, std::move(value));
    }
}

// Defaults.

void TrProjectInformation::PI_SetDefaultScanSettings() {
    const auto defaultSize =
        platform::current().stringTable.localizedString("ScanOption.DocumentSize.Default.Text");
    setDocumentTypeAtScanSettings(2);
    setDocumentSizeAtScanSettings(platform::integerValue(defaultSize));
    setFileFormatAtScanSettings(1);
    setImageTypeAtScanSettings(2);
    setDocumentSourceAtScanSettings(0);
    setResolutionAtScanSettings(300);
    setQualityTypeAtScanSettings(1);
    setOrientationAtScanSettings(0);
    setUnSharpMaskAtScanSettings(false);
    setDescreenAtScanSettings(false);
    setAutoEnhanceAtScanSettings(true);
    setJpegCompressionAtScanSettings(75);
    setByteOrderAtScanSettings(1);
    setTiffCompressionAtScanSettings(0);
    setFolderPathAtScanSettings(TrFilePathUtility::sharedFilePathUtility()->documentsFolderPath());
    setPrefixAtScanSettings("img");
    setStartNumberAtScanSettings(1);
    setDefaultPdfSettings();
    setDriverNameAtScanSettings("NOT SETUP");
    setTwainUIAtScanSettings(false);
    setNoneUIAtScanSettings(true);
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
    storeAtScanSettings("documentType", documentType);
}
std::optional<std::int64_t> TrProjectInformation::documentTypeFromScanSettings() const {
    return integerAt(scanSettings_, "documentType");
}

void TrProjectInformation::setDocumentSizeAtScanSettings(std::int64_t documentSize) {
    storeAtScanSettings("documentSize", documentSize);
}
std::optional<std::int64_t> TrProjectInformation::documentSizeFromScanSettings() const {
    return integerAt(scanSettings_, "documentSize");
}

void TrProjectInformation::setFileFormatAtScanSettings(std::int64_t fileFormat) {
    storeAtScanSettings("fileFormat", fileFormat);
}
std::optional<std::int64_t> TrProjectInformation::fileFormatFromScanSettings() const {
    return integerAt(scanSettings_, "fileFormat");
}

void TrProjectInformation::setImageTypeAtScanSettings(std::int64_t imageType) {
    storeAtScanSettings("imageType", imageType);
}
std::optional<std::int64_t> TrProjectInformation::imageTypeFromScanSettings() const {
    return integerAt(scanSettings_, "imageType");
}

void TrProjectInformation::setDocumentSourceAtScanSettings(std::int64_t documentSource) {
    storeAtScanSettings("documentSource", documentSource);
}
std::optional<std::int64_t> TrProjectInformation::documentSourceFromScanSettings() const {
    return integerAt(scanSettings_, "documentSource");
}

void TrProjectInformation::setResolutionAtScanSettings(std::int64_t resolution) {
    storeAtScanSettings("resolution", resolution);
}
std::optional<std::int64_t> TrProjectInformation::resolutionFromScanSettings() const {
    return integerAt(scanSettings_, "resolution");
}

void TrProjectInformation::setQualityTypeAtScanSettings(std::int64_t qualityType) {
    storeAtScanSettings("qualityType", qualityType);
}
std::optional<std::int64_t> TrProjectInformation::qualityTypeFromScanSettings() const {
    return integerAt(scanSettings_, "qualityType");
}

void TrProjectInformation::setOrientationAtScanSettings(std::int64_t orientation) {
    storeAtScanSettings("orientation", orientation);
}
std::optional<std::int64_t> TrProjectInformation::orientationFromScanSettings() const {
    return integerAt(scanSettings_, "orientation");
}

void TrProjectInformation::setUnSharpMaskAtScanSettings(bool unSharpMask) {
    storeAtScanSettings("unSharpMark", unSharpMask);
}
std::optional<bool> TrProjectInformation::unSharpMaskFromScanSettings() const {
    return booleanAt(scanSettings_, "unSharpMark");
}

void TrProjectInformation::setDescreenAtScanSettings(bool descreen) {
    storeAtScanSettings("descreen", descreen);
}
std::optional<bool> TrProjectInformation::descreenFromScanSettings() const {
    return booleanAt(scanSettings_, "descreen");
}

void TrProjectInformation::setAutoEnhanceAtScanSettings(bool autoEnhance) {
    storeAtScanSettings("autoEnhance", autoEnhance);
}
std::optional<bool> TrProjectInformation::autoEnhanceFromScanSettings() const {
    return booleanAt(scanSettings_, "autoEnhance");
}

void TrProjectInformation::setJpegCompressionAtScanSettings(std::int64_t jpegCompression) {
    storeAtScanSettings("JPEGCompression", jpegCompression);
}
std::optional<std::int64_t> TrProjectInformation::jpegCompressionFromScanSettings() const {
    return integerAt(scanSettings_, "JPEGCompression");
}

void TrProjectInformation::setByteOrderAtScanSettings(std::int64_t byteOrder) {
    storeAtScanSettings("byteOrder", byteOrder);
}
std::optional<std::int64_t> TrProjectInformation::byteOrderFromScanSettings() const {
    return integerAt(scanSettings_, "byteOrder");
}

void TrProjectInformation::setTiffCompressionAtScanSettings(std::int64_t tiffCompression) {
    storeAtScanSettings("TIFFCompression", tiffCompression);
}
std::optional<std::int64_t> TrProjectInformation::tiffCompressionFromScanSettings() const {
    return integerAt(scanSettings_, "TIFFCompression");
}

void TrProjectInformation::setFolderPathAtScanSettings(const std::optional<std::string>& folderPath) {
    storeAtScanSettings("folderPath", valueOrNothing(folderPath));
}
std::optional<std::string> TrProjectInformation::folderPathFromScanSettings() const {
    return textAt(scanSettings_, "folderPath");
}

void TrProjectInformation::setPrefixAtScanSettings(const std::optional<std::string>& prefix) {
    storeAtScanSettings("prefix", valueOrNothing(prefix));
}
std::optional<std::string> TrProjectInformation::prefixFromScanSettings() const {
    return textAt(scanSettings_, "prefix");
}

void TrProjectInformation::setStartNumberAtScanSettings(std::int64_t startNumber) {
    storeAtScanSettings("startNumber", startNumber);
}
std::optional<std::int64_t> TrProjectInformation::startNumberFromScanSettings() const {
    return integerAt(scanSettings_, "startNumber");
}

void TrProjectInformation::setPdfCompressionAtScanSettings(const std::optional<std::string>& pdfCompression) {
    storeAtScanSettings("pdfCompression", valueOrNothing(pdfCompression));
}
std::optional<std::string> TrProjectInformation::pdfCompressionFromScanSettings() const {
    return textAt(scanSettings_, "pdfCompression");
}

void TrProjectInformation::setPdfSettingFolderAtScanSettings(
    const std::optional<std::string>& pdfSettingFolder) {
    storeAtScanSettings("pdfSettingFolder", valueOrNothing(pdfSettingFolder));
}
std::optional<std::string> TrProjectInformation::pdfSettingFolderFromScanSettings() const {
    return textAt(scanSettings_, "pdfSettingFolder");
}

void TrProjectInformation::setDriverNameAtScanSettings(const std::optional<std::string>& driverName) {
    storeAtScanSettings("driverName", valueOrNothing(driverName));
}
std::optional<std::string> TrProjectInformation::driverNameFromScanSettings() const {
    return textAt(scanSettings_, "driverName");
}

void TrProjectInformation::setTwainUIAtScanSettings(bool isTwainUI) {
    storeAtScanSettings("TwainUI", isTwainUI);
}
std::optional<bool> TrProjectInformation::isTwainUIFromScanSettings() const {
    return booleanAt(scanSettings_, "TwainUI");
}

void TrProjectInformation::setNoneUIAtScanSettings(bool isNoneUI) { storeAtScanSettings("NoneUI", isNoneUI); }
std::optional<bool> TrProjectInformation::isNoneUIFromScanSettings() const {
    return booleanAt(scanSettings_, "NoneUI");
}

void TrProjectInformation::PI_SetProjectIDAtScanSettings(const std::optional<std::string>& projectID) {
    storeAtScanSettings("projectID", valueOrNothing(projectID));
}
std::optional<std::string> TrProjectInformation::projectIDFromScanSettings() const {
    return textAt(scanSettings_, "projectID");
}

void TrProjectInformation::setExtFeatureBitAtScanSettings(Value extFeatureBit) {
    storeAtScanSettings("extFeatureBit", std::move(extFeatureBit));
}
std::optional<Value> TrProjectInformation::extFeatureBitFromScanSettings() const {
    const Value* value = platform::find(scanSettings_, "extFeatureBit");
    return value ? std::optional(*value) : std::nullopt;
}

void TrProjectInformation::setIPAddressAtScanSettings(const std::optional<std::string>& ipAddress) {
    storeAtScanSettings("ipAddress", valueOrNothing(ipAddress));
}
std::optional<std::string> TrProjectInformation::ipAddressFromScanSettings() const {
    return textAt(scanSettings_, "ipAddress");
}

} // namespace trigora
