#include "tests/companions/TestPictures.h"

#include "tests/fakes/PlatformTest.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>

#include <jpeglib.h>
#include <tiffio.h>

namespace trigora::test {

namespace {

std::uint32_t littleEndian(const std::string& bytes, std::size_t offset, std::size_t size) {
    std::uint32_t value = 0;
    for (std::size_t i = size; i-- > 0;) {
        value = value << 8U | static_cast<std::uint8_t>(bytes.at(offset + i));
    }
    return value;
}

} // namespace

std::uint32_t SeenPicture::at(std::size_t x, std::size_t y) const {
    const std::size_t offset = (y * width + x) * 3;
    return static_cast<std::uint32_t>(pixels.at(offset) << 16U | pixels.at(offset + 1) << 8U |
                                      pixels.at(offset + 2));
}

std::string bytesOf(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    EXPECT_TRUE(file) << path;
    return {std::istreambuf_iterator<char>(file), {}};
}

std::size_t occurrences(const std::string& text, const std::string& of) {
    std::size_t count = 0;
    for (std::size_t at = text.find(of); at != std::string::npos; at = text.find(of, at + of.size())) {
        ++count;
    }
    return count;
}

std::vector<SeenPicture> readJpeg(const std::string& path) {
    std::string bytes = bytesOf(path);
    if (!bytes.starts_with("\xFF\xD8\xFF")) {
        ADD_FAILURE() << path << " is no JPEG file";
        return {};
    }
    jpeg_decompress_struct decompressor;
    jpeg_error_mgr errors;
    decompressor.err = jpeg_std_error(&errors); // ends the test program on an error
    jpeg_create_decompress(&decompressor);
    jpeg_mem_src(&decompressor, reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
    jpeg_read_header(&decompressor, TRUE);
    decompressor.out_color_space = JCS_RGB;
    jpeg_start_decompress(&decompressor);
    SeenPicture picture{decompressor.output_width, decompressor.output_height, decompressor.X_density, {}};
    picture.pixels.resize(picture.width * picture.height * 3);
    while (decompressor.output_scanline < decompressor.output_height) {
        JSAMPROW row = picture.pixels.data() + decompressor.output_scanline * picture.width * 3;
        jpeg_read_scanlines(&decompressor, &row, 1);
    }
    jpeg_finish_decompress(&decompressor);
    jpeg_destroy_decompress(&decompressor);
    EXPECT_EQ(errors.num_warnings, 0);
    return {picture};
}

std::vector<SeenPicture> readTiff(const std::string& path) {
    TIFF* tiff = TIFFOpen(path.c_str(), "r");
    if (tiff == nullptr) {
        ADD_FAILURE() << path << " is no TIFF file";
        return {};
    }
    std::vector<SeenPicture> pages;
    do {
        std::uint32_t width = 0;
        std::uint32_t height = 0;
        float resolution = 0;
        TIFFGetField(tiff, TIFFTAG_IMAGEWIDTH, &width);
        TIFFGetField(tiff, TIFFTAG_IMAGELENGTH, &height);
        TIFFGetField(tiff, TIFFTAG_XRESOLUTION, &resolution);
        std::vector<std::uint32_t> raster(std::size_t{width} * height);
        EXPECT_EQ(TIFFReadRGBAImageOriented(tiff, width, height, raster.data(), ORIENTATION_TOPLEFT, 1), 1);
        SeenPicture page{width, height, static_cast<int>(std::lround(resolution)), {}};
        for (const std::uint32_t pixel : raster) {
            page.pixels.push_back(static_cast<std::uint8_t>(TIFFGetR(pixel)));
            page.pixels.push_back(static_cast<std::uint8_t>(TIFFGetG(pixel)));
            page.pixels.push_back(static_cast<std::uint8_t>(TIFFGetB(pixel)));
        }
        pages.push_back(std::move(page));
    } while (TIFFReadDirectory(tiff) == 1);
    TIFFClose(tiff);
    return pages;
}

std::vector<SeenPicture> readBmp(const std::string& path) {
    const std::string bytes = bytesOf(path);
    if (!bytes.starts_with("BM") || bytes.size() != littleEndian(bytes, 2, 4)) {
        ADD_FAILURE() << path << " is no BMP file";
        return {};
    }
    const std::size_t offset = littleEndian(bytes, 10, 4);
    const std::uint32_t bits = littleEndian(bytes, 28, 2);
    SeenPicture picture{littleEndian(bytes, 18, 4),
                        littleEndian(bytes, 22, 4),
                        static_cast<int>(std::lround(littleEndian(bytes, 38, 4) * 0.0254)),
                        {}};
    const std::size_t stride = (picture.width * bits + 31) / 32 * 4;
    for (std::size_t y = 0; y < picture.height; ++y) {
        const std::size_t row = offset + (picture.height - 1 - y) * stride;
        for (std::size_t x = 0; x < picture.width; ++x) {
            std::size_t colour = row + x * 3;
            if (bits < 24) {
                const auto byte = static_cast<std::uint8_t>(bytes.at(row + x * bits / 8));
                const std::size_t index = unsigned{byte} >> (bits == 1 ? 7 - x % 8 : 0) & ((1U << bits) - 1);
                colour = 54 + index * 4;
            }
            for (const std::size_t sample : {2U, 1U, 0U}) {
                picture.pixels.push_back(static_cast<std::uint8_t>(bytes.at(colour + sample)));
            }
        }
    }
    return {picture};
}

std::vector<SeenPicture> readPdf(const std::string& path) {
    constexpr int resolution = 100;
    const TemporaryFolder folder;
    const std::string command = "pdftoppm -r " + std::to_string(resolution) + " '" + path + "' '" +
                                folder.path() +
                                "/page' 2>&1 | grep . >&2"; // a reader that mends the file says so
    EXPECT_NE(std::system(command.c_str()), 0) << command;
    std::vector<std::string> files;
    for (const auto& entry : std::filesystem::directory_iterator(folder.path())) {
        files.push_back(entry.path());
    }
    std::ranges::sort(files);
    std::vector<SeenPicture> pages;
    for (const std::string& file : files) {
        std::ifstream picture(file, std::ios::binary);
        std::string kind;
        SeenPicture page;
        picture >> kind >> page.width >> page.height >> kind;
        picture.get();
        page.resolution = resolution;
        page.pixels.assign(std::istreambuf_iterator<char>(picture), {});
        EXPECT_EQ(page.pixels.size(), page.width * page.height * 3);
        pages.push_back(std::move(page));
    }
    return pages;
}

} // namespace trigora::test
