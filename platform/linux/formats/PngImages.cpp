#include "platform/linux/formats/LinuxFormats.h"

#include <png.h>

namespace trigora::platform {

namespace {

constexpr std::uint32_t largestSide = 4096;

/// libpng's reader for whole pictures, which reports failures as results.
class PngReader {
public:
    PngReader() { image_.version = PNG_IMAGE_VERSION; }
    PngReader(const PngReader&) = delete;
    PngReader& operator=(const PngReader&) = delete;
    ~PngReader() { ::png_image_free(&image_); }

    std::optional<Image> read(const Data& file) {
        if (::png_image_begin_read_from_memory(&image_, file.data(), file.size()) == 0 ||
            image_.width > largestSide || image_.height > largestSide) {
            return std::nullopt;
        }
        image_.format = PNG_FORMAT_RGBA;
        Image result{image_.width, image_.height, Data(PNG_IMAGE_SIZE(image_))};
        if (::png_image_finish_read(&image_, nullptr, result.pixels.data(), 0, nullptr) == 0) {
            return std::nullopt;
        }
        return result;
    }

private:
    png_image image_ = {};
};

} // namespace

std::optional<Image> PngImages::load(const std::string& path) {
    const std::optional<Data> file = contents_.read(path, FileContents::longestPicture);
    return file ? PngReader().read(*file) : std::nullopt;
}

} // namespace trigora::platform
