#include "companions/PScanAssistant/scanning/ScanJob.h"

#include "tests/companions/FakeScanner.h"
#include "tests/companions/SaneTestDevice.h"
#include "tests/companions/TestPictures.h"

#include <filesystem>

namespace trigora::companions {
namespace {

using namespace test;

class ScanJobTest : public ::testing::Test {
protected:
    ScanOutcome scan(Scanner& scanner, const ScanSettings& settings) {
        return scanDocument(scanner, settings, folder.path(),
                            [this](bool) { return --progressLeft >= 0 ? ScanWish::goOn : lastWish; });
    }
    std::string path(const std::string& name) const { return folder.path() + '/' + name; }
    /// Everything in the folder, hidden files too.
    std::vector<std::string> files() const {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
            names.push_back(entry.path().filename());
        }
        std::ranges::sort(names);
        return names;
    }

    TemporaryFolder folder;
    int progressLeft = 1'000'000; ///< how often the job may tell of progress before it is ended
    ScanWish lastWish = ScanWish::discard;
};

ScanSettings settingsFor(FileFormat format, ImageType type, double resolution = 50) {
    ScanSettings settings;
    settings.fileFormat = format;
    settings.imageType = type;
    settings.resolution = resolution;
    settings.paper = {118, 138};
    return settings;
}

ScanSettings feederSettings(FileFormat format) {
    ScanSettings settings = settingsFor(format, ImageType::grey);
    settings.documentSource = DocumentSource::feeder;
    return settings;
}

struct FormatCase {
    FileFormat format;
    std::string name;
    std::vector<SeenPicture> (*read)(const std::string& path);
};

const std::array<FormatCase, 5> pictureFormats{{{FileFormat::jpeg, "img001.jpg", readJpeg},
                                                {FileFormat::pdf, "img001.pdf", readPdf},
                                                {FileFormat::bmp, "img001.bmp", readBmp},
                                                {FileFormat::tiff, "img001.tif", readTiff},
                                                {FileFormat::multiPageTiff, "img001.tif", readTiff}}};

TEST_F(ScanJobTest, EveryPictureFormatHoldsWhatTheScannerSaw) {
    SaneTestDevice device;
    for (const FormatCase& format : pictureFormats) {
        for (const ImageType type : {ImageType::colour, ImageType::grey, ImageType::blackAndWhite}) {
            for (const bool group4 : {false, true}) {
                SCOPED_TRACE(format.name + " of type " + std::to_string(static_cast<int>(type)));
                ScanSettings settings = settingsFor(format.format, type, 100);
                settings.tiffGroup4 = group4;
                settings.tiffBigEndian = group4;
                const auto scanner = device.open();
                ASSERT_NE(scanner, nullptr);
                const ScanOutcome outcome = scan(*scanner, settings);
                EXPECT_EQ(outcome.failure, "");
                ASSERT_EQ(outcome.fileNames, std::vector{format.name});
                const std::vector<SeenPicture> pages = format.read(path(format.name));
                ASSERT_EQ(pages.size(), 1U);
                const SeenPicture& page = pages.front();
                // 118 by 138 millimetres at 100 dots per inch; no side of the grid mirrors the other.
                EXPECT_NEAR(static_cast<double>(page.width), 465, 2);
                EXPECT_NEAR(static_cast<double>(page.height), 543, 2);
                EXPECT_EQ(page.resolution, 100);
                EXPECT_GT(page.at(20, 20) & 0xFFU, 0xF0U);
                EXPECT_LT(page.at(59, 20), 0x101010U);
                EXPECT_LT(page.at(20, 59), 0x101010U);
                EXPECT_GT(page.at(59, 59) & 0xFFU, 0xF0U);
                std::filesystem::remove(path(format.name));
            }
        }
    }
}

TEST_F(ScanJobTest, ColoursStayWhatTheyAre) {
    for (const FormatCase& format : pictureFormats) {
        SCOPED_TRACE(format.name);
        FakeScanner scanner;
        FakeScanner::Frame frame = greyFrame(32 * 3, 32, 0);
        frame.parameters.content = FrameParameters::Content::colour;
        frame.parameters.pixelsPerLine = 32;
        for (std::size_t pixel = 0; pixel < 32 * 32; ++pixel) {
            frame.bytes[pixel * 3 + (pixel % 32 < 16 ? 0 : 2)] = 255; // red, and blue beside it
        }
        scanner.frames = {frame};
        ASSERT_EQ(scan(scanner, settingsFor(format.format, ImageType::colour, 100)).failure, "");
        const std::vector<SeenPicture> pages = format.read(path(format.name));
        ASSERT_EQ(pages.size(), 1U);
        EXPECT_EQ(pages[0].at(8, 16) >> 20U, 0xFU);
        EXPECT_LT(pages[0].at(8, 16) & 0xFFFFU, 0x1000U);
        EXPECT_GT(pages[0].at(24, 16) & 0xFFU, 0xF0U);
        EXPECT_LT(pages[0].at(24, 16) >> 8U, 0x1000U);
        std::filesystem::remove(path(format.name));
    }
}

TEST_F(ScanJobTest, CompressionIsWhatTheSettingsSay) {
    SaneTestDevice device;
    const auto size = [&](ScanSettings settings) {
        const auto scanner = device.open();
        const ScanOutcome outcome = scan(*scanner, settings);
        return std::filesystem::file_size(path(outcome.fileNames.at(0)));
    };
    ScanSettings fine = settingsFor(FileFormat::jpeg, ImageType::colour);
    ScanSettings coarse = fine;
    fine.jpegQuality = 95;
    coarse.jpegQuality = 5;
    EXPECT_GT(size(fine), size(coarse));

    ScanSettings plain = settingsFor(FileFormat::tiff, ImageType::blackAndWhite, 300);
    ScanSettings group4 = plain;
    group4.tiffGroup4 = true;
    EXPECT_GT(size(plain), 10 * size(group4));
    EXPECT_TRUE(bytesOf(path("img001.tif")).starts_with("II"));
    ScanSettings bigEndian = plain;
    bigEndian.tiffBigEndian = true;
    size(bigEndian);
    EXPECT_TRUE(bytesOf(path("img003.tif")).starts_with("MM"));
}

TEST_F(ScanJobTest, TheFeederFillsOneDocumentOrOneFileAPage) {
    SaneTestDevice device; // whose feeder holds ten pages
    for (const ImageType type : {ImageType::colour, ImageType::blackAndWhite}) {
        ScanSettings settings = feederSettings(FileFormat::pdf);
        settings.imageType = type;
        const auto scanner = device.open();
        const ScanOutcome outcome = scan(*scanner, settings);
        EXPECT_EQ(outcome.failure, "");
        ASSERT_EQ(outcome.fileNames.size(), 1U);
        const std::string pdf = bytesOf(path(outcome.fileNames[0]));
        EXPECT_TRUE(pdf.starts_with("%PDF-"));
        EXPECT_NE(pdf.find("%%EOF"), std::string::npos);
        EXPECT_EQ(occurrences(pdf, "/Type /Page\n"), 10U);
        // 118 millimetres are 334.5 points.
        EXPECT_EQ(occurrences(pdf, "/MediaBox [ 0 0 33"), 10U);
        EXPECT_EQ(occurrences(pdf, type == ImageType::colour ? "/DCTDecode" : "/CCITTFaxDecode"), 10U);
    }
    auto scanner = device.open();
    EXPECT_EQ(scan(*scanner, feederSettings(FileFormat::multiPageTiff)).fileNames,
              std::vector<std::string>{"img001.tif"});
    EXPECT_EQ(readTiff(path("img001.tif")).size(), 10U);

    scanner.reset();
    scanner = device.open();
    const ScanOutcome single = scan(*scanner, feederSettings(FileFormat::jpeg));
    ASSERT_EQ(single.fileNames.size(), 10U);
    EXPECT_EQ(single.fileNames.back(), "img010.jpg");
    EXPECT_EQ(readJpeg(path("img010.jpg")).size(), 1U);
}

TEST_F(ScanJobTest, AFailureKeepsTheWholePagesAndNothingElse) {
    for (const bool hasDied : {false, true}) {
        for (const auto& [format, status] : {std::pair{FileFormat::pdf, ScannerStatus::failed},
                                             {FileFormat::pdf, ScannerStatus::cancelled},
                                             {FileFormat::bmp, ScannerStatus::failed}}) {
            FakeScanner scanner;
            scanner.allOptions = {textOption("source", {"ADF"})};
            scanner.frames = {greyFrame(8, 8, 0), greyFrame(8, 8, 255)};
            scanner.frames[hasDied ? 0 : 1].end = status;
            const ScanOutcome outcome = scan(scanner, feederSettings(format));
            EXPECT_EQ(outcome.failure, status == ScannerStatus::cancelled
                                           ? "the scan was cancelled at the scanner"
                                           : "the scanner reports a failure");
            EXPECT_EQ(outcome.fileNames.size(), hasDied ? 0U : 1U);
            EXPECT_EQ(files(), outcome.fileNames);
            for (const std::string& name : outcome.fileNames) {
                std::filesystem::remove(path(name));
            }
        }
    }
}

TEST_F(ScanJobTest, AFailureIsToldInTheScannersWords) {
    const std::array<std::pair<std::string, std::string>, 3> cases{{
        {"SANE_STATUS_JAMMED", "the scanner reports a failure: Document feeder jammed"},
        {"SANE_STATUS_COVER_OPEN", "the scanner reports a failure: Scanner cover is open"},
        {"SANE_STATUS_EOF", "the scanner reports a failure"},
    }};
    for (const auto& [status, failure] : cases) {
        SaneTestDevice device("read-status-code \"" + status + "\"");
        const auto scanner = device.open();
        EXPECT_EQ(scan(*scanner, settingsFor(FileFormat::pdf, ImageType::grey)).failure, failure);
    }
}

TEST_F(ScanJobTest, AnEmptyFeederIsAFailure) {
    FakeScanner scanner;
    scanner.allOptions = {textOption("source", {"ADF"})};
    EXPECT_EQ(scan(scanner, feederSettings(FileFormat::pdf)).failure, "there is no document in the feeder");
    EXPECT_EQ(files(), std::vector<std::string>{});
}

TEST_F(ScanJobTest, ACancelledScanLeavesNothingHalfWritten) {
    for (const FileFormat format : {FileFormat::pdf, FileFormat::multiPageTiff}) {
        SaneTestDevice device;
        const auto scanner = device.open();
        progressLeft = 12; // somewhere after the first of the ten pages
        EXPECT_EQ(scan(*scanner, feederSettings(format)).failure, "the scan was cancelled");
        EXPECT_EQ(files(), std::vector<std::string>{});
    }
}

TEST_F(ScanJobTest, AFolderThatCannotTakeTheDocumentIsKnownBeforeAnyPaperIsFed) {
    struct Case {
        std::string folder;
        PaperSize paper;
        std::string reason;
    };
    const std::array<Case, 2> cases{{{folder.path() + "/missing", {100, 100}, "No such file or directory"},
                                     {folder.path(), {1e7, 1e7}, "No space left on device"}}};
    for (const Case& one : cases) {
        FakeScanner scanner;
        scanner.frames = {greyFrame(8, 8, 0)};
        ScanSettings settings = settingsFor(FileFormat::pdf, ImageType::grey);
        settings.paper = one.paper;
        const ScanOutcome outcome =
            scanDocument(scanner, settings, one.folder, [](bool) { return ScanWish::goOn; });
        EXPECT_EQ(outcome.failure,
                  "the document could not be written into " + one.folder + ": " + one.reason);
        EXPECT_EQ(outcome.fileNames, std::vector<std::string>{});
        EXPECT_EQ(scanner.startCount, 0);
    }
    EXPECT_EQ(files(), std::vector<std::string>{});
}

} // namespace
} // namespace trigora::companions
