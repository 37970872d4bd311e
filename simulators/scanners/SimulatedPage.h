#pragma once

#include "simulators/scanners/ScanOptions.h"

#include <cstdint>
#include <span>

namespace trigora::simulators {

/// A page that is being scanned: white, with a row of bars 10 millimetres below its top, one for each page
/// that the scanner has scanned so far: 4 millimetres wide, 10 high, 10 apart, from 10 millimetres on. Those
/// of a front are black, those of a back red. A blank page has none.
class SimulatedPage {
public:
    SimulatedPage(const ScanMode& mode, int bars, bool isBack);

    int pixelsPerLine() const { return pixelsPerLine_; }
    int bytesPerLine() const { return bytesPerLine_; }
    int lines() const { return lines_; }
    /// The bytes from that position on; further lines than the page has are white.
    void fill(std::int64_t position, std::span<std::uint8_t> bytes) const;

private:
    bool hasBars(std::int64_t line) const;
    /// Of a line with bars.
    std::uint8_t byteAt(int position) const;
    /// The brightness of one colour at a pixel of a line with bars.
    std::uint8_t brightness(int pixel, int channel) const;

    ScanMode mode_;
    int bars_;
    bool isBack_;
    int channels_;
    int pixelsPerLine_;
    int bytesPerLine_;
    int lines_;
};

} // namespace trigora::simulators
