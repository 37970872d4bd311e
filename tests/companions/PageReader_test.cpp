#include "companions/PScanAssistant/scanning/PageReader.h"

#include "companions/PScanAssistant/scanners/ScannerSetup.h"
#include "tests/companions/FakeScanner.h"
#include "tests/companions/SaneTestDevice.h"

namespace trigora::companions {
namespace {

using namespace test;
using Content = FrameParameters::Content;

std::variant<PageImage, ScannerStatus> read(Scanner& scanner, ImageType type) {
    return readPage(scanner, type, 50, [](bool) { return ScanWish::goOn; });
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
        const auto result = read(*scanner, ImageType::colour);
        ASSERT_TRUE(std::holds_alternative<PageImage>(result));
        const PageImage& page = std::get<PageImage>(result);
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
    const auto result = read(scanner, ImageType::grey);
    ASSERT_TRUE(std::holds_alternative<PageImage>(result));
    EXPECT_EQ(std::get<PageImage>(result).height, 5U);
    EXPECT_EQ(std::get<PageImage>(result).pixels, Data(8 * 5, 5));
}

TEST(PageReaderTest, WhatTheScannerReportsEndsTheReading) {
    const std::array<std::pair<std::string, ScannerStatus>, 4> cases{{
        {"SANE_STATUS_JAMMED", ScannerStatus::failed},
        {"SANE_STATUS_IO_ERROR", ScannerStatus::failed},
        {"SANE_STATUS_CANCELLED", ScannerStatus::cancelled},
        {"SANE_STATUS_EOF", ScannerStatus::failed}, // a page without a line
    }};
    for (const auto& [status, expected] : cases) {
        SaneTestDevice device("read-status-code \"" + status + "\"");
        const auto scanner = device.open();
        const auto result = read(*scanner, ImageType::grey);
        ASSERT_TRUE(std::holds_alternative<ScannerStatus>(result)) << status;
        EXPECT_EQ(std::get<ScannerStatus>(result), expected) << status;
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
        const auto result = read(scanner, one.wanted);
        ASSERT_TRUE(std::holds_alternative<PageImage>(result));
        EXPECT_EQ(std::get<PageImage>(result).pixels, one.pixels);
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
        const auto result = read(scanner, ImageType::colour);
        ASSERT_TRUE(std::holds_alternative<ScannerStatus>(result));
        EXPECT_EQ(std::get<ScannerStatus>(result), ScannerStatus::failed);
    }
}

} // namespace
} // namespace trigora::companions
