#include "companions/PScanAssistant/documents/PageImage.h"

namespace trigora::companions {

namespace {

constexpr unsigned middleGrey = 128;

/// The grey of a pixel in a row of the page.
std::uint8_t greyAt(const PageImage& page, const std::uint8_t* row, std::size_t column) {
    switch (page.type) {
    case ImageType::colour: {
        // The weights with which the eye sees red, green and blue, in 256ths.
        const std::uint8_t* pixel = row + column * 3;
        return static_cast<std::uint8_t>((77U * pixel[0] + 150U * pixel[1] + 29U * pixel[2]) >> 8U);
    }
    case ImageType::grey:
        return row[column];
    case ImageType::blackAndWhite:
        return (unsigned{row[column / 8]} >> (7U - column % 8)) & 1U ? 0 : 255;
    }
    return 0;
}

} // namespace

PageImage convertedTo(ImageType type, PageImage page) {
    if (page.type == type || type == ImageType::colour) {
        return page;
    }
    PageImage result{type, page.width, page.height, page.resolution, {}};
    result.pixels.assign(result.bytesPerRow() * page.height, 0);
    for (std::size_t y = 0; y < page.height; ++y) {
        const std::uint8_t* from = page.row(y);
        std::uint8_t* to = result.pixels.data() + y * result.bytesPerRow();
        for (std::size_t x = 0; x < page.width; ++x) {
            const std::uint8_t grey = greyAt(page, from, x);
            if (type == ImageType::grey) {
                to[x] = grey;
            } else if (grey < middleGrey) {
                to[x / 8] = static_cast<std::uint8_t>(to[x / 8] | (0x80U >> (x % 8)));
            }
        }
    }
    return result;
}

} // namespace trigora::companions
