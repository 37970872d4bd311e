#include "simulators/scanners/SimulatedPage.h"

#include <algorithm>
#include <cmath>

namespace trigora::simulators {

namespace {

constexpr double millimetresPerInch = 25.4;
constexpr double barDistance = 10.0;
constexpr double barWidth = 4.0;
constexpr double barTop = 10.0;
constexpr double barHeight = 10.0;
constexpr std::uint8_t white = 255;
constexpr std::uint8_t redInGrey = 76;

int dots(double millimetres, int resolution) {
    return std::max(1, static_cast<int>(std::lround(millimetres / millimetresPerInch * resolution)));
}

} // namespace

SimulatedPage::SimulatedPage(const ScanMode& mode, int bars, bool isBack)
    : mode_(mode), bars_(bars), isBack_(isBack), channels_(mode.colours == ScanMode::Colours::colour ? 3 : 1),
      pixelsPerLine_(dots(mode.right - mode.left, mode.resolution)),
      bytesPerLine_((pixelsPerLine_ * channels_ * mode.depth + 7) / 8),
      lines_(dots(mode.bottom - mode.top, mode.resolution)) {}

bool SimulatedPage::hasBars(std::int64_t line) const {
    const double y =
        mode_.top + (static_cast<double>(line) + 0.5) / mode_.resolution * millimetresPerInch - barTop;
    return y >= 0 && y < barHeight && line < lines_;
}

std::uint8_t SimulatedPage::brightness(int pixel, int channel) const {
    const double x = mode_.left + (pixel + 0.5) / mode_.resolution * millimetresPerInch - barDistance;
    if (x < 0 || x >= bars_ * barDistance || std::fmod(x, barDistance) >= barWidth) {
        return white;
    }
    if (!isBack_) {
        return 0;
    }
    return channels_ == 1 ? redInGrey : channel == 0 ? white : std::uint8_t{0};
}

std::uint8_t SimulatedPage::byteAt(int position) const {
    if (mode_.depth == 1) {
        unsigned bits = 0;
        for (int i = 0; i < 8; ++i) { // a set bit is black
            const bool isBlack =
                position * 8 + i < pixelsPerLine_ && brightness(position * 8 + i, 0) < white / 2;
            bits = bits << 1U | static_cast<unsigned>(isBlack);
        }
        return static_cast<std::uint8_t>(bits);
    }
    const int sample = position / (mode_.depth / 8);
    return brightness(sample / channels_, sample % channels_);
}

void SimulatedPage::fill(std::int64_t position, std::span<std::uint8_t> bytes) const {
    const std::uint8_t background = mode_.depth == 1 ? 0 : white;
    while (!bytes.empty()) {
        const std::int64_t line = position / bytesPerLine_;
        const auto from = static_cast<int>(position % bytesPerLine_);
        const std::span<std::uint8_t> row =
            bytes.first(std::min(bytes.size(), static_cast<std::size_t>(bytesPerLine_ - from)));
        if (hasBars(line)) {
            int column = from;
            std::ranges::generate(row, [&] { return byteAt(column++); });
        } else {
            std::ranges::fill(row, background);
        }
        position += static_cast<std::int64_t>(row.size());
        bytes = bytes.subspan(row.size());
    }
}

} // namespace trigora::simulators
