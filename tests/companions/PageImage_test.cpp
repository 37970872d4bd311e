#include "companions/PScanAssistant/documents/JpegEncoder.h"
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
