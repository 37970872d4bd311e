#include "companions/PScanAssistant/PageImage.h"

#include <gtest/gtest.h>

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

} // namespace
} // namespace trigora::companions
