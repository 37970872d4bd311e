#include "companions/PScanAssistant/documents/DocumentWriter.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace trigora::companions {

namespace {

constexpr double inchesPerMetre = 39.37007874;
constexpr std::size_t fileHeaderSize = 14;
constexpr std::size_t pictureHeaderSize = 40;

void put16(Data& bytes, std::uint32_t value) {
    bytes.push_back(static_cast<std::uint8_t>(value));
    bytes.push_back(static_cast<std::uint8_t>(value >> 8U));
}

void put32(Data& bytes, std::uint32_t value) {
    put16(bytes, value);
    put16(bytes, value >> 16U);
}

std::uint32_t bitsPerPixel(ImageType type) {
    switch (type) {
    case ImageType::colour:
        return 24;
    case ImageType::grey:
        return 8;
    case ImageType::blackAndWhite:
        return 1;
    }
    return 0;
}

/// Greys from black to white; for black and white from white to black, since a set bit is black.
Data paletteOf(ImageType type) {
    Data palette;
    const std::uint32_t entries = type == ImageType::colour ? 0 : 1U << bitsPerPixel(type);
    for (std::uint32_t i = 0; i < entries; ++i) {
        const std::uint32_t grey = type == ImageType::grey ? i : 255U * (1 - i);
        put32(palette, grey * 0x010101U);
    }
    return palette;
}

class BmpWriter final : public DocumentWriter {
public:
    explicit BmpWriter(const DocumentFile& file) : file_(file) {}

    bool addPage(const PageImage& page) override {
        const std::size_t stride = (page.bytesPerRow() + 3) / 4 * 4;
        const Data palette = paletteOf(page.type);
        const std::size_t offset = fileHeaderSize + pictureHeaderSize + palette.size();
        const std::size_t size = offset + stride * page.height;
        constexpr auto longestSide = static_cast<std::size_t>(std::numeric_limits<std::int32_t>::max());
        if (size > std::numeric_limits<std::uint32_t>::max() || page.width > longestSide ||
            page.height > longestSide) {
            return false;
        }
        Data header = headerOf(page, static_cast<std::uint32_t>(offset), static_cast<std::uint32_t>(size));
        header.insert(header.end(), palette.begin(), palette.end());
        return file_.write(header.data(), header.size()) && writeRows(page, stride);
    }
    bool finish(const std::string& /*title*/) override { return true; }

private:
    static Data headerOf(const PageImage& page, std::uint32_t offset, std::uint32_t size) {
        const auto dotsPerMetre = static_cast<std::uint32_t>(std::lround(page.resolution * inchesPerMetre));
        Data header{'B', 'M'};
        put32(header, size);
        put32(header, 0);
        put32(header, offset);
        put32(header, pictureHeaderSize);
        put32(header, static_cast<std::uint32_t>(page.width));
        put32(header, static_cast<std::uint32_t>(page.height)); // a positive height: rows from the bottom
        put16(header, 1);
        put16(header, bitsPerPixel(page.type));
        put32(header, 0); // not compressed
        put32(header, size - offset);
        put32(header, dotsPerMetre);
        put32(header, dotsPerMetre);
        put32(header, 0);
        put32(header, 0);
        return header;
    }

    bool writeRows(const PageImage& page, std::size_t stride) const {
        Data row(stride, 0);
        for (std::size_t y = page.height; y-- > 0;) {
            const std::uint8_t* from = page.row(y);
            if (page.type == ImageType::colour) {
                for (std::size_t x = 0; x < page.width; ++x) {
                    row[x * 3] = from[x * 3 + 2];
                    row[x * 3 + 1] = from[x * 3 + 1];
                    row[x * 3 + 2] = from[x * 3];
                }
            } else {
                std::copy_n(from, page.bytesPerRow(), row.begin());
            }
            if (!file_.write(row.data(), row.size())) {
                return false;
            }
        }
        return true;
    }

    const DocumentFile& file_;
};

} // namespace

std::unique_ptr<DocumentWriter> makeBmpWriter(const DocumentFile& file) {
    return std::make_unique<BmpWriter>(file);
}

} // namespace trigora::companions
