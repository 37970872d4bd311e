#pragma once

#include "companions/PScanAssistant/settings/ScanNote.h"
#include "platform/Value.h"
#include "projects/settings/ScanSettingSchema.h"

#include <cstdint>
#include <string>
#include <vector>

namespace trigora::companions {

// The numbers are those of the scan settings.
enum class FileFormat { jpeg, pdf, bmp, tiff, multiPageTiff };
enum class ImageType { colour, grey, blackAndWhite };
enum class DocumentSource { automatic, table, feeder, duplexFeeder };
enum class Quality { speed, standard, best, custom };
enum class Orientation { portrait, landscape, upsideDown, landscapeTurned };

struct PaperSize {
    double width = 0; ///< millimetres
    double height = 0;
};

/// A project's scan settings as far as a scan heeds them. What is missing or makes no sense has its default.
struct ScanSettings {
    std::string driverName; ///< empty when the settings name none
    std::string address;    ///< the scanner's network address; empty for a local one
    std::string folderPath; ///< empty for the user's documents
    std::string prefix{scan_settings::prefix.defaultText()};
    std::int64_t startNumber = scan_settings::startNumber.defaultNumber();
    /// Dots per inch, what the quality makes of it included.
    double resolution = static_cast<double>(scan_settings::resolution.defaultNumber());
    ImageType imageType = ImageType::blackAndWhite;
    DocumentSource documentSource = DocumentSource::automatic;
    PaperSize paper;          ///< upright
    bool isWholeArea = false; ///< of the scanner, whatever the paper
    Orientation orientation = Orientation::portrait;
    Quality quality = Quality::standard;
    bool sharpen = false;
    bool descreen = false;
    bool enhance = true;
    FileFormat fileFormat = FileFormat::pdf;
    int jpegQuality = static_cast<int>(scan_settings::jpegCompression.defaultNumber());
    bool tiffGroup4 = false;
    bool tiffBigEndian = false;
    std::vector<ScanNote> notes; ///< what is not understood or cannot be
};

/// docs/scan-settings.md tells of each key.
ScanSettings readScanSettings(const Dictionary& dictionary);

/// Whether all pages of a scan go into one file.
bool isMultiPage(FileFormat format);
/// Without the point.
std::string extensionOf(FileFormat format);

/// What the agent means by an address: "L" stands for a local scanner and reads as an empty text.
std::string networkAddress(const Dictionary& dictionary, const std::string& key);

} // namespace trigora::companions
