#include "agent/log/PSlog.h"
#include "catalogue/actions/TrActionInformation.h"
#include "catalogue/drivers/TrScannerDriverInformation.h"
#include "catalogue/drivers/TrScannerDriverManager.h"
#include "catalogue/identifiers/UserProjects.h"
#include "platform/Desktop.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"
#include "platform/Text.h"
#include "projects/information/TrProjectInformation.h"
#include "projects/settings/ScanSettingSchema.h"

#include <cstddef>

namespace trigora {

namespace {

std::string localized(const char* key) { return platform::current().stringTable.localizedString(key); }

/// The label of a choice; none for no value and for one outside the range.
std::optional<std::string> labelOf(const ScanSetting& setting, std::optional<std::int64_t> value) {
    if (!value || *value < setting.least || *value > setting.most) {
        return std::nullopt;
    }
    const char* key = setting.choices[static_cast<std::size_t>(*value - setting.least)].labelKey;
    return key != nullptr ? std::optional(localized(key)) : std::nullopt;
}

/// Adds a part behind a "/"; nothing is added for a missing part, no "/" to an empty text.
void appendPart(std::string& text, const std::optional<std::string>& part) {
    if (!part || part->empty()) {
        return;
    }
    if (!text.empty()) {
        text += "/";
    }
    text += *part;
}

} // namespace

std::optional<std::string> TrProjectInformation::menuTitle() const {
    if (!projectName_) {
        return std::nullopt;
    }
    const std::string description = PI_MenuDescription().value_or("");
    return description.empty() ? *projectName_ : *projectName_ + " - " + description;
}

std::optional<std::string> TrProjectInformation::tiffCompressionString() const {
    const bool isGroup4 = tiffCompressionFromScanSettings() == scan_settings::group4;
    return labelOf(scan_settings::tiffCompression, isGroup4 ? scan_settings::group4 : 0);
}

std::optional<std::string> TrProjectInformation::documentSizeString() const {
    return labelOf(scan_settings::documentSize, documentSizeFromScanSettings());
}

std::optional<std::string> TrProjectInformation::documentSourceString() const {
    const auto driver =
        TrScannerDriverManager::sharedScannerDriverManager()->currentScannerDriverInformation();
    const bool hasFeeder = driver && driver->isADFSupport();
    const bool hasDuplex = driver && driver->isDuplexSupport();
    const auto source = documentSourceFromScanSettings();
    if (source == scan_settings::feeder && hasFeeder && hasDuplex) {
        return localized("String.ScanInputSource.ADFSingle.Text");
    }
    const bool isMissing = (source == scan_settings::feeder && !hasFeeder) ||
                           (source == scan_settings::duplexFeeder && !hasDuplex);
    return labelOf(scan_settings::documentSource, isMissing ? scan_settings::automaticSource : source);
}

std::optional<std::string> TrProjectInformation::fileFormatString() const {
    return labelOf(scan_settings::fileFormat, fileFormatFromScanSettings());
}

std::optional<std::string> TrProjectInformation::imageColorString() const {
    return labelOf(scan_settings::imageType, imageTypeFromScanSettings());
}

std::optional<std::string> TrProjectInformation::qualityTypeString() const {
    return labelOf(scan_settings::qualityType, qualityTypeFromScanSettings());
}

std::optional<std::string> TrProjectInformation::targetFolderString() const {
    const auto folder = folderPathFromScanSettings();
    if (!folder) {
        return std::nullopt;
    }
    // The text is shared with programs that fill it with a C string.
    const std::string format =
        platform::replacingOccurrences(localized("MainWindow.TargetForderDescription.Text"), "%s", "%@");
    return stringWithFormat(format, platform::displayNameAtPath(*folder));
}

std::optional<std::string> TrProjectInformation::resolutionString() const {
    const auto resolution = resolutionFromScanSettings();
    if (!resolution) {
        return std::nullopt;
    }
    return stringWithFormat(localized("MainWindow.DpiDescription.Text"), *resolution);
}

/// A user's project is described by what it does, any other by the text that came with it.
std::optional<std::string> TrProjectInformation::PI_MenuDescription() const {
    return isUserProject(projectNumber()) ? PI_ActionDescription() : description_;
}

std::optional<std::string> TrProjectInformation::PI_ActionDescription() const {
    std::optional<std::string> application =
        actionInformation_ ? actionInformation_->projectApplicationName() : std::nullopt;
    if (type_ == "0x0002") {
        return application;
    }
    if (type_ != "0x0001" && type_ != "0x0003") {
        return std::nullopt;
    }
    std::string text = scanDescription();
    appendPart(text, application);
    return text;
}

std::string TrProjectInformation::scanDescription() const {
    std::string text;
    if (documentTypeFromScanSettings() == scan_settings::photoDocument) {
        text = localized("MainWindow.PhotoScanDescription.Text");
    } else {
        appendPart(text, documentSizeString());
        appendPart(text, imageColorString());
        appendPart(text, resolutionString());
    }
    appendPart(text, fileFormatString());
    appendPart(text, targetFolderString());
    return text;
}

} // namespace trigora
