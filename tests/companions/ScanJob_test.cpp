#include "companions/PScanAssistant/scanning/ScanJob.h"

#include "tests/companions/FakeScanner.h"
#include "tests/companions/SaneTestDevice.h"
#include "tests/companions/TestPictures.h"

#include "platform/Text.h"

#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>

namespace trigora::companions {
namespace {

using namespace test;

class ScanJobTest : public PlatformTest, public ScanWatch {
protected:
    ScanWish progress(bool /*hasMoved*/) override { return wish; }
    void pagesRead(std::size_t count) override {
        if (count == lastPage) {
            wish = ScanWish::cancel;
        }
        if (onPage) {
            onPage(count);
        }
    }
    ScanPlace place() const { return {folder.path(), work.path(), {other.path()}}; }
    ScanOutcome scan(Scanner& scanner, const ScanSettings& settings) {
        return scanDocument(scanner, settings, place(), *this);
    }
    static std::vector<std::string> names(const ScanOutcome& outcome) {
        std::vector<std::string> result;
        for (const std::string& path : outcome.paths) {
            result.push_back(platform::lastPathComponent(path));
        }
        return result;
    }
    std::string path(const std::string& name) const { return folder.path() + '/' + name; }
    /// Everything in the folder, hidden files too.
    std::vector<std::string> files() const {
        std::vector<std::string> found;
        for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
            found.push_back(entry.path().filename());
        }
        std::ranges::sort(found);
        return found;
    }

    TemporaryFolder folder;
    TemporaryFolder work;
    TemporaryFolder other;
    std::atomic<ScanWish> wish = ScanWish::goOn;
    std::size_t lastPage = 0; ///< after which the scan is cancelled
    std::function<void(std::size_t)> onPage;
};

ScanSettings settingsFor(FileFormat format, ImageType type, double resolution = 50) {
    ScanSettings settings;
    settings.fileFormat = format;
    settings.imageType = type;
    settings.resolution = resolution;
    settings.paper = {118, 138};
    settings.documentSource = DocumentSource::table;
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
                EXPECT_EQ(outcome.failure.reason, "");
                ASSERT_EQ(names(outcome), std::vector{format.name});
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
        ASSERT_EQ(scan(scanner, settingsFor(format.format, ImageType::colour, 100)).failure.reason, "");
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
        return std::filesystem::file_size(outcome.paths.at(0));
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
        EXPECT_EQ(outcome.failure.reason, "");
        ASSERT_EQ(outcome.paths.size(), 1U);
        const std::string pdf = bytesOf(outcome.paths[0]);
        EXPECT_TRUE(pdf.starts_with("%PDF-"));
        EXPECT_NE(pdf.find("%%EOF"), std::string::npos);
        EXPECT_EQ(occurrences(pdf, "/Type /Page\n"), 10U);
        // 118 millimetres are 334.5 points.
        EXPECT_EQ(occurrences(pdf, "/MediaBox [ 0 0 33"), 10U);
        EXPECT_EQ(occurrences(pdf, type == ImageType::colour ? "/DCTDecode" : "/CCITTFaxDecode"), 10U);
    }
    auto scanner = device.open();
    EXPECT_EQ(names(scan(*scanner, feederSettings(FileFormat::multiPageTiff))),
              std::vector<std::string>{"img001.tif"});
    EXPECT_EQ(readTiff(path("img001.tif")).size(), 10U);

    scanner.reset();
    scanner = device.open();
    const ScanOutcome single = scan(*scanner, feederSettings(FileFormat::jpeg));
    ASSERT_EQ(single.paths.size(), 10U);
    EXPECT_EQ(single.paths.back(), path("img010.jpg"));
    EXPECT_EQ(readJpeg(path("img010.jpg")).size(), 1U);
}

/// A feeder with so many pages; each is a little darker than the one before.
void fillFeeder(FakeScanner& scanner, std::size_t pages) {
    scanner.allOptions = {textOption("source", {"Flatbed", "ADF"})};
    for (std::size_t page = 0; page < pages; ++page) {
        scanner.frames.push_back(greyFrame(100, 100, static_cast<std::uint8_t>(255 - 20 * page)));
    }
}

/// A page that cannot be compressed.
FakeScanner::Frame noise(std::size_t width, std::size_t height) {
    FakeScanner::Frame frame = greyFrame(width, height, 0);
    std::uint32_t state = 1;
    for (std::uint8_t& byte : frame.bytes) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<std::uint8_t>(state >> 24U);
    }
    return frame;
}

void limitFileSize(rlim_t bytes) {
    const rlimit limit{bytes, RLIM_INFINITY};
    ::setrlimit(RLIMIT_FSIZE, &limit);
}

TEST_F(ScanJobTest, WhateverEndsAScanThePagesBeforeAreKept) {
    using Kind = ScanFailure::Kind;
    const auto endsWith = [](ScannerStatus status) {
        return [status](FakeScanner& scanner) { scanner.frames[2].end = status; };
    };
    struct Case {
        std::string name;
        std::function<void(FakeScanner&)> prepare;
        Kind kind;
    };
    const std::array<Case, 8> cases{{
        {"jam", endsWith(ScannerStatus::jammed), Kind::jammed},
        {"cover", endsWith(ScannerStatus::coverOpen), Kind::coverOpen},
        {"unplugged", endsWith(ScannerStatus::lost), Kind::lost},
        {"the scanner's own key", endsWith(ScannerStatus::cancelled), Kind::atScanner},
        {"cancelled", [this](FakeScanner&) { lastPage = 2; }, Kind::cancelled},
        {"lies", [](FakeScanner& scanner) { scanner.frames[2].parameters.depth = 77; }, Kind::broken},
        {"endless page",
         [](FakeScanner& scanner) {
             scanner.frames[2].parameters.lines = std::nullopt;
             scanner.frames[2].isEndless = true;
         },
         Kind::broken},
        {"a disk that takes no more",
         [](FakeScanner& scanner) {
             scanner.frames[2] = noise(scanner.frames[2].parameters.pixelsPerLine, 1000);
             limitFileSize(32 << 10);
         },
         Kind::folder},
    }};
    ::signal(SIGXFSZ, SIG_IGN);
    for (const Case& one : cases) {
        for (const FormatCase& format : pictureFormats) {
            SCOPED_TRACE(one.name + ", " + format.name);
            FakeScanner scanner;
            fillFeeder(scanner, 4);
            wish = ScanWish::goOn;
            lastPage = 0;
            onPage = nullptr;
            one.prepare(scanner);
            const ScanOutcome outcome = scan(scanner, feederSettings(format.format));
            limitFileSize(RLIM_INFINITY);
            EXPECT_EQ(outcome.failure.kind, one.kind) << outcome.failure.reason;
            EXPECT_EQ(outcome.pageCount, 2U);
            EXPECT_EQ(files(), names(outcome));
            EXPECT_TRUE(std::filesystem::is_empty(work.path()));
            std::size_t pageCount = 0;
            for (const std::string& document : outcome.paths) {
                for (const SeenPicture& page : format.read(document)) {
                    EXPECT_NEAR(static_cast<double>(page.at(50, 50) & 0xFFU),
                                255.0 - 20.0 * static_cast<double>(pageCount), 2);
                    ++pageCount;
                }
                std::filesystem::remove(document);
            }
            EXPECT_EQ(pageCount, 2U);
        }
    }
}

TEST_F(ScanJobTest, AKilledAssistantsPagesAreCompletedByTheNextOne) {
    for (const FormatCase& format : pictureFormats) {
        if (!isMultiPage(format.format)) {
            continue;
        }
        SCOPED_TRACE(format.name);
        const pid_t child = ::fork();
        if (child == 0) {
            FakeScanner scanner;
            fillFeeder(scanner, 5);
            onPage = [this](std::size_t count) {
                if (count == 4) { // the third is being written or is there
                    ::kill(::getpid(), SIGKILL);
                }
                if (count == 2 && !files().empty()) {
                    std::_Exit(1); // somebody who watches the folder would have seen half a file
                }
            };
            scan(scanner, feederSettings(format.format));
            std::_Exit(2);
        }
        int status = 0;
        ASSERT_EQ(::waitpid(child, &status, 0), child);
        EXPECT_TRUE(WIFSIGNALED(status)) << status;
        EXPECT_EQ(files(), std::vector<std::string>{});
        std::ofstream(path(format.name)) << "the user's own";
        for (const auto& entry : std::filesystem::directory_iterator(work.path())) {
            if (entry.path().extension().empty()) { // killed while it wrote the last page
                std::filesystem::resize_file(entry.path(), std::filesystem::file_size(entry.path()) - 5);
            }
        }

        const std::vector<RescuedDocument> rescued = rescueUnfinished(work.path(), {other.path()});
        ASSERT_EQ(rescued.size(), 1U);
        EXPECT_GE(rescued[0].pages, 1U);
        EXPECT_EQ(rescued[0].path, path("img002." + extensionOf(format.format)));
        const std::vector<SeenPicture> pages = format.read(rescued[0].path);
        EXPECT_EQ(pages.size(), rescued[0].pages);
        EXPECT_NEAR(static_cast<double>(pages.at(0).at(50, 50) & 0xFFU), 255, 2);
        EXPECT_TRUE(std::filesystem::is_empty(work.path()));
        std::filesystem::remove(rescued[0].path);
        std::filesystem::remove(path(format.name));
    }
}

TEST_F(ScanJobTest, AFolderThatVanishesCostsNoPage) {
    for (const bool canBeMadeAnew : {true, false}) {
        for (const FileFormat format : {FileFormat::pdf, FileFormat::jpeg}) {
            FakeScanner scanner;
            fillFeeder(scanner, 2);
            const ScanPlace gone{folder.path() + "/parent/scans", work.path(), {other.path()}};
            std::filesystem::create_directories(gone.folder);
            onPage = [&](std::size_t count) {
                if (count == 1) {
                    std::filesystem::remove_all(folder.path() + "/parent");
                    if (!canBeMadeAnew) {
                        std::ofstream(folder.path() + "/parent") << "in the way";
                    }
                }
            };
            const ScanOutcome outcome = scanDocument(scanner, feederSettings(format), gone, *this);
            EXPECT_GT(outcome.pageCount, 0U);
            for (const std::string& document : outcome.paths) {
                EXPECT_TRUE(document.starts_with(canBeMadeAnew ? gone.folder : other.path())) << document;
                EXPECT_TRUE(std::filesystem::remove(document));
            }
            std::filesystem::remove_all(folder.path() + "/parent");
        }
    }
}

TEST_F(ScanJobTest, AutomaticTakesTheGlassWhenTheFeederTurnsOutToBeEmpty) {
    FakeScanner scanner;
    fillFeeder(scanner, 0);
    scanner.onGlass = {greyFrame(8, 8, 9)};
    ScanSettings settings = settingsFor(FileFormat::pdf, ImageType::grey);
    settings.documentSource = DocumentSource::automatic;
    EXPECT_EQ(scan(scanner, settings).pageCount, 1U);
    EXPECT_EQ(scanner.startCount, 2); // the feeder once, the glass once

    settings.documentSource = DocumentSource::feeder; // which is not the glass
    EXPECT_EQ(scan(scanner, settings).failure.kind, ScanFailure::Kind::emptyFeeder);

    fillFeeder(scanner, 3);
    scanner.values.clear();
    settings.documentSource = DocumentSource::automatic;
    EXPECT_EQ(scan(scanner, settings).pageCount, 3U);
}

TEST_F(ScanJobTest, AScannerInUseIsTriedAgainForSomeSeconds) {
    for (const auto& [busyStarts, kind] :
         {std::pair{3, ScanFailure::Kind::none}, {1000, ScanFailure::Kind::busy}}) {
        FakeScanner scanner;
        scanner.busyStarts = busyStarts;
        scanner.frames = {greyFrame(8, 8, 0)};
        const double began = clock.monotonicSeconds();
        EXPECT_EQ(scan(scanner, settingsFor(FileFormat::pdf, ImageType::grey)).failure.kind, kind);
        EXPECT_LT(clock.monotonicSeconds() - began, 15);
    }
}

std::size_t residentBytes() {
    std::ifstream statm("/proc/self/statm");
    std::size_t all = 0;
    std::size_t resident = 0;
    statm >> all >> resident;
    return resident * 4096;
}

TEST_F(ScanJobTest, MemoryDoesNotGrowWithThePages) {
    for (const FileFormat format : {FileFormat::pdf, FileFormat::multiPageTiff}) {
        FakeScanner scanner;
        fillFeeder(scanner, 0);
        scanner.frames = {noise(1024, 1024)};
        std::size_t early = 0;
        std::size_t most = 0;
        onPage = [&](std::size_t count) {
            if (count < 18) {
                scanner.frames.push_back(noise(1024, 1024));
            }
            early = count == 4 ? residentBytes() : early;
            most = std::max(most, residentBytes());
        };
        EXPECT_EQ(scan(scanner, feederSettings(format)).pageCount, 18U);
        EXPECT_LT(most, early + (std::size_t{7} << 20)); // the pages after that have 14 MB
    }
}

TEST_F(ScanJobTest, APageIsTurnedAndSharpenedWhereTheScannerCannotAndThatIsTold) {
    FakeScanner scanner;
    scanner.allOptions = {textOption("source", {"Flatbed"}), rangeOption("br-x", 0, 216)};
    scanner.frames = {greyFrame(40, 60, 255)};
    std::fill_n(scanner.frames[0].bytes.begin(), 40 * 20, 0); // its upper third is black
    ScanSettings settings = settingsFor(FileFormat::tiff, ImageType::grey);
    settings.paper = {210, 297};
    settings.orientation = Orientation::landscape;
    settings.sharpen = true;
    settings.notes = {{"Scan.Note.Setting", "%@ makes no sense", {"prefix"}}};
    const ScanOutcome outcome = scan(scanner, settings);
    EXPECT_EQ(outcome.notes.size(), 1U);
    const SeenPicture page = readTiff(outcome.paths.at(0)).at(0);
    EXPECT_EQ(page.width, 60U);
    EXPECT_EQ(page.height, 40U);
    EXPECT_EQ(page.at(10, 20), 0xFFFFFFU); // what was below is on the left now
    EXPECT_EQ(page.at(50, 20), 0U);
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
        EXPECT_EQ(scan(*scanner, settingsFor(FileFormat::pdf, ImageType::grey)).failure.reason, failure);
    }
}

TEST_F(ScanJobTest, AnEmptyFeederIsAFailure) {
    FakeScanner scanner;
    scanner.allOptions = {textOption("source", {"ADF"})};
    EXPECT_EQ(scan(scanner, feederSettings(FileFormat::pdf)).failure.reason,
              "there is no document in the feeder");
    EXPECT_EQ(files(), std::vector<std::string>{});
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
        const ScanOutcome outcome = scanDocument(scanner, settings, {one.folder, work.path(), {}}, *this);
        EXPECT_EQ(outcome.failure.reason,
                  "the document could not be written into " + one.folder + ": " + one.reason);
        EXPECT_EQ(outcome.paths, std::vector<std::string>{});
        EXPECT_EQ(scanner.startCount, 0);
    }
    EXPECT_EQ(files(), std::vector<std::string>{});
}

} // namespace
} // namespace trigora::companions
