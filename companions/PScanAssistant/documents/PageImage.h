#pragma once

#include "companions/PScanAssistant/settings/ScanSettings.h"
#include "platform/Value.h"

#include <cstddef>
#include <cstdint>

namespace trigora::companions {

/// One scanned side, rows from the top without padding. Colour has three bytes a pixel (red, green, blue),
/// grey one, black and white eight pixels a byte with the first in the highest bit, a set bit being black.
struct PageImage {
    ImageType type = ImageType::grey;
    std::size_t width = 0; ///< pixels
    std::size_t height = 0;
    double resolution = 300; ///< dots per inch
    Data pixels;

    std::size_t bytesPerRow() const {
        switch (type) {
        case ImageType::colour:
            return width * 3;
        case ImageType::grey:
            return width;
        case ImageType::blackAndWhite:
            return (width + 7) / 8;
        }
        return 0;
    }
    const std::uint8_t* row(std::size_t index) const { return pixels.data() + index * bytesPerRow(); }
};

/// The same picture with fewer colours (black below the middle of the greys); black and white becomes grey
/// by widening. Colour cannot be made.
PageImage convertedTo(ImageType type, PageImage page);

} // namespace trigora::companions
