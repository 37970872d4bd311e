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

#include <array>
#include <cstddef>
#include <span>

namespace trigora {

namespace {

constexpr std::array documentSizeKeys{
    "String.ScanArea.A4.Text", "String.ScanArea.Letter.Text", "String.ScanArea.Legal.Text",
    "String.ScanArea.A5.Text", "String.ScanArea.B5.Text",     "String.ScanArea.Tabloid.Text",
    "String.ScanArea.B4.Text", "String.ScanArea.A3.Text",     "String.ScanArea.A6.Text",
};
constexpr std::array fileFormatKeys{
    "String.FileFormat.JPEG.Text", "String.FileFormat.PDF.Text",       "String.FileFormat.BMP.Text",
    "String.FileFormat.TIFF.Text", "String.FileFormat.MultiTIFF.Text",
};
constexpr std::array imageTypeKeys{
    "String.ColorType.Color.Text",
    "String.ColorType.Grayscale.Text",
    "String.ColorType.BW.Text",
};
constexpr std::array qualityTypeKeys{
    "String.Quality.Speed.Text",
    "String.Quality.Srandard.Text", // spelt so in the string tables
    "String.Quality.BestQuality.Text",
    "String.Quality.Custom.Text",
};

constexpr std::int64_t photoDocument = 3;

std::string localized(const char* key) { return platform::current().stringTable.localizedString(key); }

/// The label of a value that counts from 0; none for no value and for one outside the table.
std::optional<std::string> labelAt(std::span<const char* const> keys, std::optional<std::int64_t> value) {
    if (!value || *value < 0 || static_cast<std::uint64_t>(*value) >= keys.size()) {
        return std::nullopt;
    }
    return localized(keys[static_cast<std::size_t>(*value)]);
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
    const bool isGroup4 = tiffCompressionFromScanSettings() == 1;
    return localized(isGroup4 ? "String.TIFFCompressionG4.Text" : "String.TIFFCompressionNone.Text");
}

std::optional<std::string> TrProjectInformation::documentSizeString() const {
    return labelAt(documentSizeKeys, documentSizeFromScanSettings());
}

std::optional<std::string> TrProjectInformation::documentSourceString() const {
    const auto driver =
        TrScannerDriverManager::sharedScannerDriverManager()->currentScannerDriverInformation();
    const bool hasFeeder = driver && driver->isADFSupport();
    const bool hasDuplex = driver && driver->isDuplexSupport();
    const char* const autoDetect = "String.ScanInputSource.AutoDetect.Text";
    const char* const feeder =
        hasDuplex ? "String.ScanInputSource.ADFSingle.Text" : "String.ScanInputSource.ADF.Text";
    const std::array keys{
        autoDetect,
        "String.ScanInputSource.DocumentTable.Text",
        hasFeeder ? feeder : autoDetect,
        hasDuplex ? "String.ScanInputSource.ADFDuplex.Text" : autoDetect,
    };
    return labelAt(keys, documentSourceFromScanSettings());
}

std::optional<std::string> TrProjectInformation::fileFormatString() const {
    return labelAt(fileFormatKeys, fileFormatFromScanSettings());
}

std::optional<std::string> TrProjectInformation::imageColorString() const {
    return labelAt(imageTypeKeys, imageTypeFromScanSettings());
}

std::optional<std::string> TrProjectInformation::qualityTypeString() const {
    return labelAt(qualityTypeKeys, qualityTypeFromScanSettings());
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
    if (documentTypeFromScanSettings() == photoDocument) {
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
