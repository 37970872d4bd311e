#include "companions/PScanAssistant/scanning/PageReader.h"

#include "companions/PScanAssistant/scanners/ScannerSetup.h"
#include "tests/companions/FakeScanner.h"
#include "tests/companions/SaneTestDevice.h"

namespace trigora::companions {
namespace {

using namespace test;
using Content = FrameParameters::Content;

PageReading read(Scanner& scanner, ImageType type = ImageType::colour) {
    PageReading reading = readPage(scanner, 50, 100, [](bool) { return ScanWish::goOn; });
    if (reading.page) {
        reading.page = convertedTo(type, std::move(*reading.page));
    }
    return reading;
}

TEST(PageReaderTest, TheDevicesManyWaysOfSendingAPageGiveTheSamePicture) {
    const std::array<std::string, 6> ways{"",
                                          "ppl-loss 9",
                                          "fuzzy-parameters true",
                                          "read-limit true\nread-limit-size 13",
                                          "non-blocking true",
                                          "three-pass true\nthree-pass-order GBR"};
    Data expected;
    for (const std::string& way : ways) {
        SCOPED_TRACE(way);
        SaneTestDevice device(way);
        const auto scanner = device.open();
        ASSERT_NE(scanner, nullptr);
        ScanSettings settings;
        settings.imageType = ImageType::colour;
        settings.resolution = 50;
        settings.paper = {100, 100};
        ASSERT_TRUE(setUp(*scanner, settings));
        const PageReading reading = read(*scanner);
        ASSERT_TRUE(reading.page);
        const PageImage& page = *reading.page;
        EXPECT_EQ(page.pixels.size(), page.width * page.height * 3);
        if (way.starts_with("ppl-loss")) {
            EXPECT_EQ(page.width, 187U); // nine pixels of each row are lost
            continue;
        }
        expected = expected.empty() ? page.pixels : expected;
        EXPECT_TRUE(page.pixels == expected);
        scanner->cancel();
    }
}

TEST(PageReaderTest, AScannerNeedNotKnowThePagesHeight) {
    FakeScanner scanner;
    scanner.frames = {greyFrame(8, 8, 5)};
    scanner.frames[0].parameters.lines = std::nullopt;
    scanner.frames[0].bytes.resize(8 * 5 + 3); // a piece of a row is no row
    const PageReading reading = read(scanner);
    EXPECT_EQ(reading.status, ScannerStatus::good);
    ASSERT_TRUE(reading.page);
    EXPECT_EQ(reading.page->height, 5U);
    EXPECT_EQ(reading.page->pixels, Data(8 * 5, 5));
}

TEST(PageReaderTest, APageThatNeverEndsIsCutWhereItWasAnnouncedToEnd) {
    for (const bool isAnnounced : {true, false}) {
        FakeScanner scanner;
        FakeScanner::Frame frame = greyFrame(1000, 1000, 5);
        frame.isEndless = true;
        if (!isAnnounced) {
            frame.parameters.lines = std::nullopt;
        }
        scanner.frames = {frame};
        const PageReading reading = read(scanner);
        EXPECT_EQ(reading.status, ScannerStatus::failed);
        EXPECT_EQ(reading.page.has_value(), isAnnounced);
        EXPECT_LT(scanner.bytesSent, std::size_t{8} << 20);
        if (reading.page) {
            EXPECT_EQ(reading.page->height, 1000U);
        }
    }
}

TEST(PageReaderTest, AScannerMaySayAtAPagesEndThatItWasTheLast) {
    FakeScanner scanner;
    scanner.frames = {greyFrame(8, 8, 5)};
    scanner.frames[0].end = ScannerStatus::noDocuments;
    const PageReading reading = read(scanner);
    EXPECT_EQ(reading.status, ScannerStatus::noDocuments);
    EXPECT_TRUE(reading.page);
}

TEST(PageReaderTest, WhatTheScannerReportsEndsTheReading) {
    const std::array<std::pair<std::string, ScannerStatus>, 4> cases{{
        {"SANE_STATUS_JAMMED", ScannerStatus::jammed},
        {"SANE_STATUS_IO_ERROR", ScannerStatus::lost},
        {"SANE_STATUS_CANCELLED", ScannerStatus::cancelled},
        {"SANE_STATUS_EOF", ScannerStatus::failed}, // a page without a line
    }};
    for (const auto& [status, expected] : cases) {
        SaneTestDevice device("read-status-code \"" + status + "\"");
        const auto scanner = device.open();
        const PageReading reading = read(*scanner);
        EXPECT_FALSE(reading.page) << status;
        EXPECT_EQ(reading.status, expected) << status;
    }
}

TEST(PageReaderTest, SamplesOfEveryDepthBecomeThePagesPixels) {
    struct Case {
        int depth;
        Content content;
        std::size_t pixelsPerLine;
        std::vector<std::uint8_t> bytes;
        ImageType wanted;
        Data pixels;
    };
    const std::array<Case, 5> cases{{
        {8, Content::grey, 3, {1, 200, 3}, ImageType::grey, {1, 200, 3}},
        {8, Content::grey, 3, {1, 200, 3}, ImageType::blackAndWhite, {0b10100000}},
        {1, Content::grey, 3, {0b10100000}, ImageType::grey, {0, 255, 0}},
        {16, Content::grey, 2, {0xFF, 0x12, 0x00, 0xFE}, ImageType::grey, {0x12, 0xFE}},
        {8, Content::colour, 1, {255, 0, 0}, ImageType::grey, {76}},
    }};
    for (const Case& one : cases) {
        FakeScanner scanner;
        FakeScanner::Frame frame;
        frame.parameters.content = one.content;
        frame.parameters.depth = one.depth;
        frame.parameters.pixelsPerLine = one.pixelsPerLine;
        frame.parameters.bytesPerLine = one.bytes.size();
        frame.bytes = one.bytes;
        scanner.frames = {frame};
        const PageReading reading = read(scanner, one.wanted);
        ASSERT_TRUE(reading.page);
        EXPECT_EQ(reading.page->pixels, one.pixels);
    }
}

TEST(PageReaderTest, ParametersThatMakeNoSenseAreAFailure) {
    const auto frame = [](auto change) {
        FakeScanner::Frame made = greyFrame(8, 8, 0);
        change(made.parameters);
        return made;
    };
    const std::array<FakeScanner::Frame, 6> broken{
        frame([](FrameParameters& it) { it.bytesPerLine = 7; }),
        frame([](FrameParameters& it) { it.pixelsPerLine = 0; }),
        frame([](FrameParameters& it) { it.depth = 12; }),
        frame([](FrameParameters& it) { it.content = Content::colour; }),
        frame([](FrameParameters& it) { it.lines = SIZE_MAX; }),
        frame([](FrameParameters& it) { it.content = Content::red; }), // and no green and blue
    };
    for (const FakeScanner::Frame& one : broken) {
        FakeScanner scanner;
        scanner.frames = {one};
        const PageReading reading = read(scanner);
        EXPECT_FALSE(reading.page);
        EXPECT_EQ(reading.status, ScannerStatus::failed);
    }
}

} // namespace
} // namespace trigora::companions
