#include "companions/PScanAssistant/scanning/PageReader.h"

#include <algorithm>
#include <chrono>
#include <cstring>
#include <thread>
#include <utility>
#include <vector>

namespace trigora::companions {

namespace {

using Content = FrameParameters::Content;

// More than the largest page at a resolution that makes sense; what goes beyond is a scanner gone wrong.
constexpr std::size_t largestFrame = std::size_t{2} << 30;
constexpr std::size_t bufferSize = std::size_t{64} << 10;
constexpr std::chrono::milliseconds pauseForNothing{2};

struct Frame {
    FrameParameters parameters;
    Data bytes;

    std::size_t lines() const { return bytes.size() / parameters.bytesPerLine; }
};

bool makesSense(const FrameParameters& parameters) {
    const std::size_t samples = parameters.content == Content::colour ? 3 : 1;
    if ((parameters.depth != 1 && parameters.depth != 8 && parameters.depth != 16) ||
        parameters.pixelsPerLine == 0 || parameters.bytesPerLine > largestFrame ||
        parameters.pixelsPerLine > largestFrame) {
        return false;
    }
    const std::size_t bits = parameters.pixelsPerLine * samples * static_cast<std::size_t>(parameters.depth);
    return parameters.bytesPerLine >= (bits + 7) / 8 &&
           parameters.lines.value_or(0) <= largestFrame / parameters.bytesPerLine;
}

/// How many bytes of a frame are believed. A scanner may misjudge the lines that it announces.
std::size_t mostBytes(const FrameParameters& parameters, std::size_t mostLines) {
    constexpr std::size_t someMore = std::size_t{1} << 20;
    const std::size_t lines = parameters.lines && *parameters.lines > 0 ? *parameters.lines * 2 : mostLines;
    return std::min(largestFrame,
                    std::min(lines, largestFrame / parameters.bytesPerLine) * parameters.bytesPerLine +
                        someMore);
}

/// Reads one frame, whose scan has been started. Ends with `good` or `noDocuments` when it has come as a
/// whole, with `endOfFrame` when the scanner did not end it, but all that it had announced is there.
ScannerStatus readFrame(Scanner& scanner, std::size_t mostLines, const ScanProgress& progress, Frame& frame) {
    const std::optional<FrameParameters> parameters = scanner.parameters();
    if (!parameters || !makesSense(*parameters)) {
        return ScannerStatus::failed;
    }
    frame.parameters = *parameters;
    frame.bytes.reserve(frame.parameters.bytesPerLine * frame.parameters.lines.value_or(0));
    const std::size_t limit = mostBytes(*parameters, mostLines);
    std::vector<std::uint8_t> buffer(bufferSize);
    for (;;) {
        std::size_t length = 0;
        const ScannerStatus status = scanner.read(buffer, length);
        if (progress(length > 0) != ScanWish::goOn) {
            return ScannerStatus::cancelled;
        }
        length = std::min(length, buffer.size());
        frame.bytes.insert(frame.bytes.end(), buffer.begin(),
                           buffer.begin() + static_cast<std::ptrdiff_t>(length));
        const bool isLastPage = status == ScannerStatus::noDocuments;
        if (status == ScannerStatus::endOfFrame || (isLastPage && frame.lines() > 0)) {
            return frame.lines() == 0 ? ScannerStatus::failed : isLastPage ? status : ScannerStatus::good;
        }
        if (status != ScannerStatus::good) {
            return status;
        }
        if (frame.bytes.size() > limit) {
            const std::size_t announced = parameters->lines.value_or(0);
            frame.bytes.resize(announced * parameters->bytesPerLine);
            return announced > 0 ? ScannerStatus::endOfFrame : ScannerStatus::failed;
        }
        if (length == 0) { // a scanner that has nothing to send yet should have waited itself
            std::this_thread::sleep_for(pauseForNothing);
        }
    }
}

/// A sample of a row as 8 bits. A sample of one bit is black when it is set, but a single colour's is dark
/// when it is not.
std::uint8_t sampleAt(const FrameParameters& parameters, const std::uint8_t* row, std::size_t index) {
    switch (parameters.depth) {
    case 1: {
        const bool isSet = ((unsigned{row[index / 8]} >> (7U - index % 8)) & 1U) != 0;
        return isSet == (parameters.content != Content::grey) ? 255 : 0;
    }
    case 16: {
        std::uint16_t sample = 0;
        std::memcpy(&sample, row + index * 2, sizeof sample);
        return static_cast<std::uint8_t>(sample >> 8U);
    }
    default:
        return row[index];
    }
}

/// Puts a frame's samples into the page, `step` bytes apart from `offset` on.
void putSamples(const Frame& frame, std::size_t samplesPerRow, std::size_t offset, std::size_t step,
                PageImage& page) {
    for (std::size_t y = 0; y < page.height; ++y) {
        const std::uint8_t* from = frame.bytes.data() + y * frame.parameters.bytesPerLine;
        std::uint8_t* to = page.pixels.data() + y * page.bytesPerRow() + offset;
        for (std::size_t i = 0; i < samplesPerRow; ++i) {
            to[i * step] = sampleAt(frame.parameters, from, i);
        }
    }
}

PageImage blackAndWhitePage(const Frame& frame, double resolution) {
    PageImage page{ImageType::blackAndWhite, frame.parameters.pixelsPerLine, frame.lines(), resolution, {}};
    page.pixels.reserve(page.bytesPerRow() * page.height);
    for (std::size_t y = 0; y < page.height; ++y) {
        const auto row = frame.bytes.begin() + static_cast<std::ptrdiff_t>(y * frame.parameters.bytesPerLine);
        page.pixels.insert(page.pixels.end(), row, row + static_cast<std::ptrdiff_t>(page.bytesPerRow()));
    }
    return page;
}

/// One page from the frames that belong to it: a grey one, a coloured one, or one each of the three colours.
/// A page can have hundreds of megabytes, so that its bytes are not copied where they are right as they are.
std::optional<PageImage> assemble(std::vector<Frame> frames, double resolution) {
    const FrameParameters& first = frames.front().parameters;
    const bool isSingle = first.content == Content::grey || first.content == Content::colour;
    if (frames.size() != (isSingle ? 1U : 3U)) {
        return std::nullopt;
    }
    if (first.content == Content::grey && first.depth == 1) {
        return blackAndWhitePage(frames.front(), resolution);
    }
    const ImageType type = first.content == Content::grey ? ImageType::grey : ImageType::colour;
    PageImage page{type, first.pixelsPerLine, frames.front().lines(), resolution, {}};
    for (const Frame& frame : frames) {
        if (frame.parameters.pixelsPerLine != page.width) {
            return std::nullopt;
        }
        page.height = std::min(page.height, frame.lines());
    }
    if (isSingle && first.depth == 8 && first.bytesPerLine == page.bytesPerRow()) {
        page.pixels = std::move(frames.front().bytes);
        page.pixels.resize(page.bytesPerRow() * page.height);
        return page;
    }
    page.pixels.assign(page.bytesPerRow() * page.height, 0);
    for (const Frame& frame : frames) {
        switch (frame.parameters.content) {
        case Content::grey:
            putSamples(frame, page.width, 0, 1, page);
            break;
        case Content::colour:
            putSamples(frame, page.width * 3, 0, 1, page);
            break;
        case Content::red:
            putSamples(frame, page.width, 0, 3, page);
            break;
        case Content::green:
            putSamples(frame, page.width, 1, 3, page);
            break;
        case Content::blue:
            putSamples(frame, page.width, 2, 3, page);
            break;
        }
    }
    return page;
}

} // namespace

PageReading readPage(Scanner& scanner, double resolution, std::size_t mostLines,
                     const ScanProgress& progress) {
    constexpr std::size_t mostFrames = 3;
    std::vector<Frame> frames;
    ScannerStatus status = ScannerStatus::good;
    do {
        const ScannerStatus started = scanner.start();
        if (progress(true) != ScanWish::goOn) {
            return {ScannerStatus::cancelled, std::nullopt};
        }
        if (started != ScannerStatus::good) {
            return {started == ScannerStatus::endOfFrame ? ScannerStatus::failed : started, std::nullopt};
        }
        status = readFrame(scanner, mostLines, progress, frames.emplace_back());
    } while (status == ScannerStatus::good && !frames.back().parameters.isLast && frames.size() < mostFrames);
    const bool isWhole = status == ScannerStatus::good || status == ScannerStatus::noDocuments ||
                         status == ScannerStatus::endOfFrame;
    if (!isWhole || (status == ScannerStatus::noDocuments && frames.front().bytes.empty())) {
        return {status, std::nullopt};
    }
    std::optional<PageImage> page = assemble(std::move(frames), resolution);
    if (!page || status == ScannerStatus::endOfFrame) {
        status = ScannerStatus::failed;
    }
    return {status, std::move(page)};
}

} // namespace trigora::companions
