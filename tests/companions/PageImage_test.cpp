#include "companions/PScanAssistant/documents/JpegEncoder.h"
#include "companions/PScanAssistant/documents/PageFilters.h"
#include "tests/companions/TestPictures.h"
#include "tests/fakes/PlatformTest.h"

#include <fstream>
#include <random>

namespace trigora::companions {
namespace {

TEST(PageImageTest, BlackAndWhiteRowsBeginOnTheirOwnByte) {
    const PageImage grey{ImageType::grey,
                         9,
                         2,
                         300,
                         {0, 0, 0, 0, 0, 0, 0, 0, 0, //
                          255, 255, 255, 255, 255, 255, 255, 127, 128}};
    const PageImage lineArt = convertedTo(ImageType::blackAndWhite, grey);
    EXPECT_EQ(lineArt.pixels, (Data{0xFF, 0x80, 0x01, 0x00}));
    EXPECT_EQ(convertedTo(ImageType::grey, lineArt).pixels,
              (Data{0, 0, 0, 0, 0, 0, 0, 0, 0, 255, 255, 255, 255, 255, 255, 255, 0, 255}));
}

TEST(PageImageTest, APageIsTurnedByQuarters) {
    const PageImage grey{ImageType::grey, 3, 2, 300, {1, 2, 3, 4, 5, 6}};
    const PageImage lineArt{ImageType::blackAndWhite, 3, 2, 300, {0b11000000, 0b00100000}};
    const PageImage colour{ImageType::colour, 2, 1, 300, {1, 2, 3, 4, 5, 6}};
    struct Case {
        int quarters;
        std::size_t width;
        Data grey;
        Data lineArt;
        Data colour;
    };
    const std::array<Case, 4> cases{
        {{0, 3, {1, 2, 3, 4, 5, 6}, {0b11000000, 0b00100000}, {1, 2, 3, 4, 5, 6}},
         {1, 2, {4, 1, 5, 2, 6, 3}, {0b01000000, 0b01000000, 0b10000000}, {1, 2, 3, 4, 5, 6}},
         {2, 3, {6, 5, 4, 3, 2, 1}, {0b10000000, 0b01100000}, {4, 5, 6, 1, 2, 3}},
         {3, 2, {3, 6, 2, 5, 1, 4}, {0b01000000, 0b10000000, 0b10000000}, {4, 5, 6, 1, 2, 3}}}};
    for (const Case& one : cases) {
        SCOPED_TRACE(one.quarters);
        EXPECT_EQ(turned(grey, one.quarters).pixels, one.grey);
        EXPECT_EQ(turned(grey, one.quarters).width, one.width);
        EXPECT_EQ(turned(lineArt, one.quarters).pixels, one.lineArt);
        EXPECT_EQ(turned(colour, one.quarters).pixels, one.colour);
    }
}

TEST(PageImageTest, FiltersSmoothDotsSteepenEdgesAndWhitenPaper) {
    PageImage dots{ImageType::grey, 64, 64, 300, Data(std::size_t{64} * 64)};
    PageImage edge = dots;
    PageImage letter = dots;
    for (std::size_t i = 0; i < dots.pixels.size(); ++i) {
        const std::size_t column = i % 64;
        dots.pixels[i] = (i / 64 + column) % 2 == 0 ? 0 : 255;
        edge.pixels[i] = column < 31 ? 60 : column == 31 ? 120 : 180;
        letter.pixels[i] = column % 8 == 0 ? 60 : 210;
    }
    const std::size_t middle = std::size_t{32} * 64 + 31;
    EXPECT_NEAR(descreened(dots).pixels[middle], 127, 2);
    EXPECT_LT(sharpened(edge).pixels[middle - 1], 60);
    EXPECT_GT(sharpened(edge).pixels[middle + 1], 180);
    EXPECT_EQ(enhanced(letter).pixels[middle], 255);
    EXPECT_LT(enhanced(letter).pixels[middle - 31], 10);
    const PageImage photo{ImageType::grey, 64, 64, 300, Data(dots.pixels.size(), 90)};
    EXPECT_EQ(enhanced(photo).pixels, photo.pixels);
}

TEST(PageImageTest, AJpegCanBeLargeAndAPageCanBeTooLarge) {
    PageImage page{ImageType::grey, 1000, 1000, 300, Data(1'000'000)};
    std::minstd_rand random;
    std::ranges::generate(page.pixels, [&random] { return static_cast<std::uint8_t>(random() >> 8U); });
    const std::optional<Data> jpeg = encodeJpeg(page, 100);
    ASSERT_TRUE(jpeg);
    EXPECT_GT(jpeg->size(), 500'000U);
    const test::TemporaryFolder folder;
    const std::string path = folder.path() + "/noise.jpg";
    std::ofstream(path) << std::string(jpeg->begin(), jpeg->end());
    const std::vector<test::SeenPicture> seen = test::readJpeg(path);
    ASSERT_EQ(seen.size(), 1U);
    for (const std::size_t place : {std::size_t{0}, std::size_t{500}, std::size_t{999}}) {
        EXPECT_NEAR(seen[0].at(place, place) & 0xFFU, page.pixels[place * 1001], 8) << place;
    }
    EXPECT_FALSE(encodeJpeg({ImageType::grey, 65'501, 1, 300, Data(65'501)}, 75));
}

} // namespace
} // namespace trigora::companions
