#include "companions/PScanAssistant/settings/ScanSettings.h"

#include "platform/Text.h"

#include <array>

namespace trigora::companions {

namespace {

using namespace platform;

constexpr std::array<PaperSize, 9> paperSizes{{
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

constexpr const char* noDriverName = "NOT SETUP";
constexpr std::int64_t largestStartNumber = 999'999;
constexpr std::size_t longestPrefix = 200; // bytes; leaves room for the number within a file name
constexpr std::int64_t largestResolution = 9600;

std::int64_t numberAt(const Dictionary& dictionary, std::string_view key, std::int64_t least,
                      std::int64_t most, std::int64_t byDefault) {
    const std::optional<std::int64_t> number = integerAt(dictionary, key);
    return number && *number >= least && *number <= most ? *number : byDefault;
}

template <typename Choice>
Choice choiceAt(const Dictionary& dictionary, std::string_view key, Choice last, Choice byDefault) {
    return static_cast<Choice>(
        numberAt(dictionary, key, 0, static_cast<std::int64_t>(last), static_cast<std::int64_t>(byDefault)));
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
    settings.driverName = textAt(dictionary, "driverName").value_or("");
    if (settings.driverName == noDriverName) {
        settings.driverName.clear();
    }
    settings.address = networkAddress(dictionary, "ipAddress");
    settings.folderPath = textAt(dictionary, "folderPath").value_or("");
    settings.prefix = safePrefix(textAt(dictionary, "prefix").value_or(settings.prefix));
    settings.startNumber = numberAt(dictionary, "startNumber", 0, largestStartNumber, settings.startNumber);
    settings.resolution = static_cast<double>(numberAt(dictionary, "resolution", 1, largestResolution, 300));
    settings.imageType = choiceAt(dictionary, "imageType", ImageType::blackAndWhite, settings.imageType);
    settings.documentSource =
        choiceAt(dictionary, "documentSource", DocumentSource::duplexFeeder, settings.documentSource);
    settings.paper = paperSizes.at(
        static_cast<std::size_t>(numberAt(dictionary, "documentSize", 0, paperSizes.size() - 1, 0)));
    settings.fileFormat = choiceAt(dictionary, "fileFormat", FileFormat::multiPageTiff, settings.fileFormat);
    settings.jpegQuality = static_cast<int>(numberAt(dictionary, "JPEGCompression", 1, 100, 75));
    settings.tiffGroup4 = integerAt(dictionary, "TIFFCompression") == 1;
    settings.tiffBigEndian = integerAt(dictionary, "byteOrder") == 0;
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
