#include "companions/PScanAssistant/documents/PageFilters.h"

#include <algorithm>
#include <array>
#include <utility>

namespace trigora::companions {

namespace {

std::size_t bytesPerPixel(const PageImage& page) { return page.type == ImageType::colour ? 3 : 1; }

bool hasGreys(const PageImage& page) { return page.type != ImageType::blackAndWhite; }

bool isBlack(const std::uint8_t* row, std::size_t x) {
    return (unsigned{row[x / 8]} >> (7U - x % 8) & 1U) != 0;
}

void copyPixel(const PageImage& from, std::size_t x, std::size_t y, PageImage& to, std::size_t toX,
               std::size_t toY) {
    std::uint8_t* row = to.pixels.data() + toY * to.bytesPerRow();
    if (!hasGreys(from)) {
        if (isBlack(from.row(y), x)) {
            row[toX / 8] = static_cast<std::uint8_t>(row[toX / 8] | (0x80U >> (toX % 8)));
        }
        return;
    }
    const std::size_t size = bytesPerPixel(from);
    std::copy_n(from.row(y) + x * size, size, row + toX * size);
}

/// Each sample becomes what `mix` makes of it and of the mean of its surroundings, three by three. At the
/// edges a page goes on with its last row and column.
template <typename Mix> PageImage mixedWithSurroundings(PageImage page, const Mix& mix) {
    if (!hasGreys(page) || page.width < 2 || page.height < 2) {
        return page;
    }
    const std::size_t step = bytesPerPixel(page);
    const std::size_t length = page.bytesPerRow();
    Data above(page.row(0), page.row(0) + length); // as it was
    Data here = above;
    for (std::size_t y = 0; y < page.height; ++y) {
        const std::uint8_t* below = y + 1 < page.height ? page.row(y + 1) : here.data();
        std::uint8_t* row = page.pixels.data() + y * length;
        for (std::size_t i = 0; i < length; ++i) {
            const std::size_t left = i < step ? i : i - step;
            const std::size_t right = i + step < length ? i + step : i;
            // The middle counts four times, its neighbours twice, the corners once.
            const int sum = above[left] + 2 * above[i] + above[right] +
                            2 * (here[left] + 2 * here[i] + here[right]) + below[left] + 2 * below[i] +
                            below[right];
            row[i] = static_cast<std::uint8_t>(std::clamp(mix(int{here[i]}, (sum + 8) / 16), 0, 255));
        }
        above.swap(here);
        if (y + 1 < page.height) {
            here.assign(below, below + length);
        }
    }
    return page;
}

/// Below which value a share of the page lies, in thousandths.
int quantile(const std::array<std::size_t, 256>& counts, std::size_t total, std::size_t thousandths) {
    std::size_t seen = 0;
    for (std::size_t value = 0; value < counts.size(); ++value) {
        seen += counts.at(value);
        if (seen * 1000 > total * thousandths) {
            return static_cast<int>(value);
        }
    }
    return 255;
}

} // namespace

PageImage turned(PageImage page, int quarters) {
    quarters = (quarters % 4 + 4) % 4;
    if (quarters == 0) {
        return page;
    }
    PageImage result = page;
    if (quarters != 2) {
        std::swap(result.width, result.height);
    }
    result.pixels.assign(result.bytesPerRow() * result.height, 0);
    for (std::size_t y = 0; y < page.height; ++y) {
        for (std::size_t x = 0; x < page.width; ++x) {
            switch (quarters) {
            case 1:
                copyPixel(page, x, y, result, page.height - 1 - y, x);
                break;
            case 2:
                copyPixel(page, x, y, result, page.width - 1 - x, page.height - 1 - y);
                break;
            default:
                copyPixel(page, x, y, result, y, page.width - 1 - x);
                break;
            }
        }
    }
    return result;
}

PageImage descreened(PageImage page) {
    return mixedWithSurroundings(std::move(page), [](int /*sample*/, int mean) { return mean; });
}

PageImage sharpened(PageImage page) {
    return mixedWithSurroundings(std::move(page), [](int sample, int mean) { return 2 * sample - mean; });
}

PageImage enhanced(PageImage page) {
    constexpr std::size_t everySample = 37; // enough to know the page by, and not in step with a pixel
    constexpr int darkestPaper = 170;
    constexpr int lightestInk = 100;
    if (!hasGreys(page)) {
        return page;
    }
    std::array<std::size_t, 256> counts{};
    std::size_t total = 0;
    for (std::size_t i = 0; i < page.pixels.size(); i += everySample, ++total) {
        ++counts.at(page.pixels[i]);
    }
    const int black = quantile(counts, total, 5);
    const int white = quantile(counts, total, 900);
    if (white < darkestPaper || black > lightestInk || (white == 255 && black == 0)) {
        return page;
    }
    std::array<std::uint8_t, 256> levels{};
    for (std::size_t value = 0; value < levels.size(); ++value) {
        const int level = (static_cast<int>(value) - black) * 255 / (white - black);
        levels.at(value) = static_cast<std::uint8_t>(std::clamp(level, 0, 255));
    }
    for (std::uint8_t& sample : page.pixels) {
        sample = levels[sample];
    }
    return page;
}

} // namespace trigora::companions
