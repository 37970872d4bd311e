#include "companions/PScanAssistant/documents/Group4Encoder.h"

#include <tiffio.h>

#include <algorithm>
#include <cstring>
#include <memory>
#include <new>

namespace trigora::companions {

namespace {

/// A TIFF file in memory. No exception may pass the library.
struct MemoryFile {
    Data bytes;
    std::size_t position = 0;
};

tmsize_t readFile(thandle_t handle, void* buffer, tmsize_t size) {
    auto& file = *static_cast<MemoryFile*>(handle);
    const std::size_t rest = file.bytes.size() - std::min(file.position, file.bytes.size());
    const std::size_t count = std::min(rest, static_cast<std::size_t>(size));
    std::memcpy(buffer, file.bytes.data() + file.position, count);
    file.position += count;
    return static_cast<tmsize_t>(count);
}

tmsize_t writeFile(thandle_t handle, void* buffer, tmsize_t size) {
    auto& file = *static_cast<MemoryFile*>(handle);
    const std::size_t end = file.position + static_cast<std::size_t>(size);
    try {
        if (end > file.bytes.size()) {
            file.bytes.resize(end);
        }
    } catch (const std::bad_alloc&) {
        return 0;
    }
    std::memcpy(file.bytes.data() + file.position, buffer, static_cast<std::size_t>(size));
    file.position = end;
    return size;
}

toff_t seekFile(thandle_t handle, toff_t offset, int from) {
    auto& file = *static_cast<MemoryFile*>(handle);
    file.position =
        from == SEEK_SET ? offset : offset + (from == SEEK_END ? file.bytes.size() : file.position);
    return file.position;
}

int closeFile(thandle_t /*handle*/) { return 0; }
toff_t sizeOfFile(thandle_t handle) { return static_cast<MemoryFile*>(handle)->bytes.size(); }

struct CloseTiff {
    void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};

} // namespace

std::optional<Data> encodeGroup4(const PageImage& page) {
    MemoryFile file;
    const std::unique_ptr<TIFF, CloseTiff> tiff(TIFFClientOpen(
        "scan", "wl", &file, readFile, writeFile, seekFile, closeFile, sizeOfFile, nullptr, nullptr));
    if (!tiff) {
        return std::nullopt;
    }
    TIFFSetField(tiff.get(), TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(page.width));
    TIFFSetField(tiff.get(), TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(page.height));
    TIFFSetField(tiff.get(), TIFFTAG_BITSPERSAMPLE, 1);
    TIFFSetField(tiff.get(), TIFFTAG_SAMPLESPERPIXEL, 1);
    TIFFSetField(tiff.get(), TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISWHITE);
    TIFFSetField(tiff.get(), TIFFTAG_COMPRESSION, COMPRESSION_CCITTFAX4);
    TIFFSetField(tiff.get(), TIFFTAG_ROWSPERSTRIP, static_cast<std::uint32_t>(page.height)); // one strip
    auto* rows = const_cast<std::uint8_t*>(page.pixels.data());
    if (TIFFWriteEncodedStrip(tiff.get(), 0, rows, static_cast<tmsize_t>(page.pixels.size())) < 0 ||
        TIFFFlushData(tiff.get()) != 1) {
        return std::nullopt;
    }
    const std::uint64_t* offsets = nullptr;
    const std::uint64_t* counts = nullptr;
    if (TIFFGetField(tiff.get(), TIFFTAG_STRIPOFFSETS, &offsets) != 1 ||
        TIFFGetField(tiff.get(), TIFFTAG_STRIPBYTECOUNTS, &counts) != 1 ||
        offsets[0] + counts[0] > file.bytes.size()) {
        return std::nullopt;
    }
    const auto begin = file.bytes.begin() + static_cast<std::ptrdiff_t>(offsets[0]);
    return Data(begin, begin + static_cast<std::ptrdiff_t>(counts[0]));
}

} // namespace trigora::companions
