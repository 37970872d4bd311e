#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace trigora::test {

/// A picture as somebody else's reader sees it: 8 bits a sample, three of them a pixel.
struct SeenPicture {
    std::size_t width = 0;
    std::size_t height = 0;
    int resolution = 0; ///< dots per inch
    std::vector<std::uint8_t> pixels;

    /// The three samples of a pixel as 0xRRGGBB.
    std::uint32_t at(std::size_t x, std::size_t y) const;
};

// Each fails the test and gives no pages when the file is not what it should be.

std::vector<SeenPicture> readJpeg(const std::string& path);
/// One picture per page.
std::vector<SeenPicture> readTiff(const std::string& path);
std::vector<SeenPicture> readBmp(const std::string& path);
/// One picture per page, as a viewer shows it at 100 dots per inch.
std::vector<SeenPicture> readPdf(const std::string& path);

/// The file's bytes; fails the test when it cannot be read.
std::string bytesOf(const std::string& path);
std::size_t occurrences(const std::string& text, const std::string& of);

} // namespace trigora::test
