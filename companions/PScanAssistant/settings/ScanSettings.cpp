#include "companions/PScanAssistant/settings/ScanSettings.h"

#include "platform/Text.h"
#include "projects/settings/ScanSettingSchema.h"

#include <array>

namespace trigora::companions {

namespace {

using namespace platform;

constexpr std::array<PaperSize, std::size(scan_settings::documentSizes)> paperSizes{{
    {210, 297},     // A4
    {215.9, 279.4}, // Letter
    {215.9, 355.6}, // Legal
    {148, 210},     // A5
    {182, 257},     // B5
    {279.4, 431.8}, // Tabloid
    {257, 364},     // B4
    {297, 420},     // A3
    {105, 148},     // A6
}};

constexpr std::size_t longestPrefix = 200; // bytes; leaves room for the number within a file name

template <typename Choice> Choice choiceIn(const Dictionary& dictionary, const ScanSetting& setting) {
    return static_cast<Choice>(numberIn(dictionary, setting));
}

/// A prefix names a file in its folder, never one elsewhere.
std::string safePrefix(std::string prefix) {
    prefix = replacingOccurrences(prefix, "/", "_");
    prefix = replacingOccurrences(prefix, std::string_view("\0", 1), "");
    while (prefix.size() > longestPrefix || !isValidUtf8(prefix)) {
        prefix.pop_back();
    }
    return prefix;
}

} // namespace

ScanSettings readScanSettings(const Dictionary& dictionary) {
    ScanSettings settings;
    settings.driverName = textAt(dictionary, scan_settings::driverName.key).value_or("");
    if (settings.driverName == scan_settings::noDriverName) {
        settings.driverName.clear();
    }
    settings.address = networkAddress(dictionary, std::string(scan_settings::ipAddress.key));
    settings.folderPath = textAt(dictionary, scan_settings::folderPath.key).value_or("");
    settings.prefix = safePrefix(textAt(dictionary, scan_settings::prefix.key).value_or(settings.prefix));
    settings.startNumber = numberIn(dictionary, scan_settings::startNumber);
    settings.resolution = static_cast<double>(numberIn(dictionary, scan_settings::resolution));
    settings.imageType = choiceIn<ImageType>(dictionary, scan_settings::imageType);
    settings.documentSource = choiceIn<DocumentSource>(dictionary, scan_settings::documentSource);
    settings.paper =
        paperSizes.at(static_cast<std::size_t>(numberIn(dictionary, scan_settings::documentSize)));
    settings.fileFormat = choiceIn<FileFormat>(dictionary, scan_settings::fileFormat);
    settings.jpegQuality = static_cast<int>(numberIn(dictionary, scan_settings::jpegCompression));
    settings.tiffGroup4 = numberIn(dictionary, scan_settings::tiffCompression) == scan_settings::group4;
    settings.tiffBigEndian = numberIn(dictionary, scan_settings::byteOrder) == scan_settings::bigEndian;
    return settings;
}

bool isMultiPage(FileFormat format) {
    return format == FileFormat::pdf || format == FileFormat::multiPageTiff;
}

std::string extensionOf(FileFormat format) {
    switch (format) {
    case FileFormat::jpeg:
        return "jpg";
    case FileFormat::pdf:
        return "pdf";
    case FileFormat::bmp:
        return "bmp";
    case FileFormat::tiff:
    case FileFormat::multiPageTiff:
        return "tif";
    }
    return "";
}

std::string networkAddress(const Dictionary& dictionary, const std::string& key) {
    std::string address = textAt(dictionary, key).value_or("");
    return address == "L" ? std::string() : address;
}

} // namespace trigora::companions
