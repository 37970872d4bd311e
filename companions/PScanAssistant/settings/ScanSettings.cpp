#include "companions/PScanAssistant/settings/ScanSettings.h"

#include "platform/Text.h"
#include "projects/settings/ScanSettingSchema.h"

#include <algorithm>
#include <array>

namespace trigora::companions {

namespace {

using namespace platform;

constexpr std::array<PaperSize, std::size(scan_settings::documentSizes)> paperSizes{{
    {210, 297},     // automatic, where the scanner does not say how large it is
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

// What the quality makes of the resolution.
constexpr double mostForSpeed = 150;
constexpr double leastForBest = 300;

/// Reads one setting after another; what makes no sense has its default and is noted.
class Reader {
public:
    Reader(const Dictionary& dictionary, std::vector<ScanNote>& notes)
        : dictionary_(dictionary), notes_(notes) {}

    std::int64_t number(const ScanSetting& setting) {
        const std::optional<std::int64_t> given = integerAt(dictionary_, setting.key);
        const std::int64_t number = numberIn(dictionary_, setting);
        noteUnless(given == number, setting);
        return number;
    }
    template <typename Choice> Choice choice(const ScanSetting& setting) {
        return static_cast<Choice>(number(setting) - setting.least);
    }
    bool flag(const ScanSetting& setting) {
        const std::optional<bool> given = booleanAt(dictionary_, setting.key);
        noteUnless(given.has_value(), setting);
        return given.value_or(std::get<bool>(setting.byDefault));
    }
    std::string text(const ScanSetting& setting, const std::string& byDefault = "") {
        const std::optional<std::string> given = textAt(dictionary_, setting.key);
        noteUnless(given.has_value(), setting);
        return given.value_or(byDefault);
    }

private:
    void noteUnless(bool makesSense, const ScanSetting& setting) {
        if (!makesSense && find(dictionary_, setting.key) != nullptr) {
            notes_.push_back({"Scan.Note.Setting",
                              "the setting %@ makes no sense and has its default",
                              {std::string(setting.key)}});
        }
    }

    const Dictionary& dictionary_;
    std::vector<ScanNote>& notes_;
};

/// What the settings ask for and no scanner can help with.
void noteWhatCannotBe(const Dictionary& dictionary, ScanSettings& settings) {
    const bool isTiff =
        settings.fileFormat == FileFormat::tiff || settings.fileFormat == FileFormat::multiPageTiff;
    if (isTiff && settings.tiffGroup4 && settings.imageType != ImageType::blackAndWhite) {
        settings.notes.push_back({"Scan.Note.Group4",
                                  "Group 4 compresses black and white only; the pages are not compressed",
                                  {}});
    }
    const std::string pdfCompression = textAt(dictionary, scan_settings::pdfCompression.key).value_or("");
    if (settings.fileFormat == FileFormat::pdf && !pdfCompression.empty() && pdfCompression != "DEFAULT") {
        settings.notes.push_back({"Scan.Note.PdfCompression",
                                  "the PDF compression \"%@\" is not known; the usual one was used",
                                  {pdfCompression}});
    }
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
    using namespace scan_settings;
    ScanSettings settings;
    Reader read(dictionary, settings.notes);
    settings.driverName = read.text(driverName);
    if (settings.driverName == noDriverName) {
        settings.driverName.clear();
    }
    settings.address = networkAddress(dictionary, std::string(ipAddress.key));
    settings.folderPath = read.text(folderPath);
    settings.prefix = safePrefix(read.text(prefix, settings.prefix));
    settings.startNumber = read.number(startNumber);
    settings.quality = read.choice<Quality>(qualityType);
    settings.resolution = static_cast<double>(read.number(resolution));
    if (settings.quality == Quality::speed) {
        settings.resolution = std::min(settings.resolution, mostForSpeed);
    } else if (settings.quality == Quality::best) {
        settings.resolution = std::max(settings.resolution, leastForBest);
    }
    settings.imageType = read.choice<ImageType>(imageType);
    settings.documentSource = read.choice<DocumentSource>(documentSource);
    const std::int64_t size = read.number(documentSize);
    settings.isWholeArea = size == automaticSize;
    settings.paper = paperSizes.at(static_cast<std::size_t>(size - documentSize.least));
    settings.orientation = read.choice<Orientation>(orientation);
    settings.sharpen = read.flag(unSharpMark);
    settings.descreen = read.flag(descreen);
    settings.enhance = read.flag(autoEnhance);
    settings.fileFormat = read.choice<FileFormat>(fileFormat);
    settings.jpegQuality = static_cast<int>(read.number(jpegCompression));
    settings.tiffGroup4 = read.number(tiffCompression) == group4;
    settings.tiffBigEndian = read.number(byteOrder) == bigEndian;
    noteWhatCannotBe(dictionary, settings);
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
