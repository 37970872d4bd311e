#pragma once

#include "platform/Value.h"

#include <array>
#include <cstdint>
#include <limits>
#include <optional>
#include <span>
#include <string_view>
#include <variant>

/// What the entries of a project's scan settings are called, what they may hold and what they hold in a new
/// project. Projects get their defaults from here; the scan assistant, the tools and their help read the
/// rest.
namespace trigora {

struct ScanSetting {
    enum class Kind {
        number, ///< from `least` to `most`, or one of the choices, which count from `least`
        flag,   ///< yes or no
        text,
        fileName, ///< text that is part of a file's name
        folder,   ///< an existing folder
        fixed,    ///< kept by the system itself
    };
    struct Choice {
        std::string_view word;          ///< as users write it
        const char* labelKey = nullptr; ///< of the text that users see, in the string tables; null for none
    };

    std::string_view key;
    Kind kind = Kind::text;
    std::string_view meaning; ///< in a few words
    std::int64_t least = 0;
    std::int64_t most = 0;
    std::span<const Choice> choices = {};
    /// Of a new project; none for an entry that it does not have, or whose value depends on more.
    std::variant<std::monostate, bool, std::int64_t, std::string_view> byDefault = {};
    /// Whether the entry may be taken out.
    bool isRemovable = false;

    constexpr std::int64_t defaultNumber() const { return std::get<std::int64_t>(byDefault); }
    constexpr std::string_view defaultText() const { return std::get<std::string_view>(byDefault); }
};

namespace scan_settings {

using Kind = ScanSetting::Kind;

/// Instead of a driver's name, as long as the settings are for none.
constexpr std::string_view noDriverName = "NOT SETUP";
// Numbers that have a meaning of their own.
constexpr std::int64_t photoDocument = 3;
constexpr std::int64_t automaticSize = -1;
constexpr std::int64_t automaticSource = 0;
constexpr std::int64_t feeder = 2;
constexpr std::int64_t duplexFeeder = 3;
constexpr std::int64_t group4 = 1;
constexpr std::int64_t bigEndian = 0;

inline constexpr ScanSetting::Choice documentSizes[] = {{"auto"}, // all that the scanner can see
                                                        {"A4", "String.ScanArea.A4.Text"},
                                                        {"Letter", "String.ScanArea.Letter.Text"},
                                                        {"Legal", "String.ScanArea.Legal.Text"},
                                                        {"A5", "String.ScanArea.A5.Text"},
                                                        {"B5", "String.ScanArea.B5.Text"},
                                                        {"Tabloid", "String.ScanArea.Tabloid.Text"},
                                                        {"B4", "String.ScanArea.B4.Text"},
                                                        {"A3", "String.ScanArea.A3.Text"},
                                                        {"A6", "String.ScanArea.A6.Text"}};
inline constexpr ScanSetting::Choice fileFormats[] = {{"JPEG", "String.FileFormat.JPEG.Text"},
                                                      {"PDF", "String.FileFormat.PDF.Text"},
                                                      {"BMP", "String.FileFormat.BMP.Text"},
                                                      {"TIFF", "String.FileFormat.TIFF.Text"},
                                                      {"MultiTIFF", "String.FileFormat.MultiTIFF.Text"}};
inline constexpr ScanSetting::Choice imageTypes[] = {{"color", "String.ColorType.Color.Text"},
                                                     {"grayscale", "String.ColorType.Grayscale.Text"},
                                                     {"bw", "String.ColorType.BW.Text"}};
inline constexpr ScanSetting::Choice documentSources[] = {
    {"auto", "String.ScanInputSource.AutoDetect.Text"},
    {"table", "String.ScanInputSource.DocumentTable.Text"},
    {"adf", "String.ScanInputSource.ADF.Text"},
    {"duplex", "String.ScanInputSource.ADFDuplex.Text"}};
inline constexpr ScanSetting::Choice qualityTypes[] = {
    {"speed", "String.Quality.Speed.Text"},
    {"standard", "String.Quality.Srandard.Text"}, // spelt so in the string tables
    {"best", "String.Quality.BestQuality.Text"},
    {"custom", "String.Quality.Custom.Text"}};
inline constexpr ScanSetting::Choice orientations[] = {
    {"portrait"}, {"landscape"}, {"upside-down"}, {"landscape-turned"}};
inline constexpr ScanSetting::Choice byteOrders[] = {{"big"}, {"little"}};
inline constexpr ScanSetting::Choice tiffCompressions[] = {{"none", "String.TIFFCompressionNone.Text"},
                                                           {"G4", "String.TIFFCompressionG4.Text"}};

inline constexpr ScanSetting documentType{.key = "documentType",
                                          .kind = Kind::number,
                                          .meaning = "kind of document; 3 is a photo",
                                          .most = 9,
                                          .byDefault = 2};
/// The default of a new project is that of the user's country.
inline constexpr ScanSetting documentSize{.key = "documentSize",
                                          .kind = Kind::number,
                                          .meaning = "paper size",
                                          .least = automaticSize,
                                          .most = 8,
                                          .choices = documentSizes,
                                          .byDefault = 0};
inline constexpr ScanSetting fileFormat{.key = "fileFormat",
                                        .kind = Kind::number,
                                        .meaning = "format of the scanned files",
                                        .most = 4,
                                        .choices = fileFormats,
                                        .byDefault = 1};
inline constexpr ScanSetting imageType{.key = "imageType",
                                       .kind = Kind::number,
                                       .meaning = "colours",
                                       .most = 2,
                                       .choices = imageTypes,
                                       .byDefault = 2};
inline constexpr ScanSetting documentSource{.key = "documentSource",
                                            .kind = Kind::number,
                                            .meaning = "where the paper lies",
                                            .most = 3,
                                            .choices = documentSources,
                                            .byDefault = 0};
inline constexpr ScanSetting resolution{.key = "resolution",
                                        .kind = Kind::number,
                                        .meaning = "dots per inch",
                                        .least = 1,
                                        .most = 9600,
                                        .byDefault = 300};
inline constexpr ScanSetting qualityType{.key = "qualityType",
                                         .kind = Kind::number,
                                         .meaning = "quality",
                                         .most = 3,
                                         .choices = qualityTypes,
                                         .byDefault = 1};
inline constexpr ScanSetting orientation{.key = "orientation",
                                         .kind = Kind::number,
                                         .meaning = "how the page is to stand",
                                         .most = 3,
                                         .choices = orientations,
                                         .byDefault = 0};
inline constexpr ScanSetting unSharpMark{.key = "unSharpMark",
                                         .kind = Kind::flag,
                                         .meaning = "sharpen the picture (the key is spelt so)",
                                         .byDefault = false};
inline constexpr ScanSetting descreen{.key = "descreen",
                                      .kind = Kind::flag,
                                      .meaning = "remove the pattern of printed pictures",
                                      .byDefault = false};
inline constexpr ScanSetting autoEnhance{
    .key = "autoEnhance", .kind = Kind::flag, .meaning = "enhance the picture", .byDefault = true};
inline constexpr ScanSetting jpegCompression{.key = "JPEGCompression",
                                             .kind = Kind::number,
                                             .meaning = "quality of JPEG files",
                                             .least = 1,
                                             .most = 100,
                                             .byDefault = 75};
inline constexpr ScanSetting byteOrder{.key = "byteOrder",
                                       .kind = Kind::number,
                                       .meaning = "byte order of TIFF files",
                                       .most = 1,
                                       .choices = byteOrders,
                                       .byDefault = 1};
inline constexpr ScanSetting tiffCompression{.key = "TIFFCompression",
                                             .kind = Kind::number,
                                             .meaning = "compression of TIFF files",
                                             .most = 1,
                                             .choices = tiffCompressions,
                                             .byDefault = 0};
/// Of a new project, the user's documents.
inline constexpr ScanSetting folderPath{
    .key = "folderPath", .kind = Kind::folder, .meaning = "folder to save into; it must exist"};
inline constexpr ScanSetting prefix{.key = "prefix",
                                    .kind = Kind::fileName,
                                    .meaning = "beginning of the files' names, without \"/\"",
                                    .byDefault = "img"};
inline constexpr ScanSetting startNumber{.key = "startNumber",
                                         .kind = Kind::number,
                                         .meaning = "number of the first file",
                                         .most = 999'999,
                                         .byDefault = 1};
inline constexpr ScanSetting pdfCompression{
    .key = "pdfCompression", .kind = Kind::text, .meaning = "compression of PDF files, or DEFAULT"};
inline constexpr ScanSetting pdfSettingFolder{
    .key = "pdfSettingFolder", .kind = Kind::fixed, .meaning = "folder of the scan settings"};
inline constexpr ScanSetting driverName{.key = "driverName",
                                        .kind = Kind::text,
                                        .meaning = "scanner driver; a button press puts its own in",
                                        .byDefault = noDriverName};
inline constexpr ScanSetting twainUI{
    .key = "TwainUI", .kind = Kind::flag, .meaning = "show the driver's own dialog", .byDefault = false};
inline constexpr ScanSetting noneUI{
    .key = "NoneUI", .kind = Kind::flag, .meaning = "scan without any dialog", .byDefault = true};
inline constexpr ScanSetting projectID{
    .key = "projectID", .kind = Kind::fixed, .meaning = "ID of the project"};
inline constexpr ScanSetting extFeatureBit{.key = "extFeatureBit",
                                           .kind = Kind::number,
                                           .meaning = "bits of the button; a press puts its own in",
                                           .most = std::numeric_limits<std::uint32_t>::max(),
                                           .isRemovable = true};
inline constexpr ScanSetting ipAddress{.key = "ipAddress",
                                       .kind = Kind::text,
                                       .meaning = "network address, or L for a local scanner",
                                       .isRemovable = true};

/// All entries that scan settings have.
inline constexpr std::array all{
    documentType, documentSize, fileFormat,    imageType,      documentSource,   resolution, qualityType,
    orientation,  unSharpMark,  descreen,      autoEnhance,    jpegCompression,  byteOrder,  tiffCompression,
    folderPath,   prefix,       startNumber,   pdfCompression, pdfSettingFolder, driverName, twainUI,
    noneUI,       projectID,    extFeatureBit, ipAddress};

} // namespace scan_settings

/// The value of the entry in a new project; none where `byDefault` says none.
std::optional<Value> defaultOf(const ScanSetting& setting);
/// A number of scan settings; its default when it is missing, of another kind or outside its range.
std::int64_t numberIn(const Dictionary& scanSettings, const ScanSetting& setting);

} // namespace trigora
