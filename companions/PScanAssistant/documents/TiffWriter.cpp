#include "companions/PScanAssistant/documents/DocumentWriter.h"

#include <tiffio.h>

#include <unistd.h>

#include <array>
#include <cerrno>
#include <limits>

namespace trigora::companions {

namespace {

constexpr std::uint64_t roomForDirectory = 256 << 10;
constexpr std::size_t headSize = 8;

// The library reads and writes through these, so that nothing more is written once something has failed.
struct Access {
    int descriptor;
    bool hasFailed = false;
    int error = 0;
};

tmsize_t readFile(thandle_t handle, void* buffer, tmsize_t size) {
    return ::read(static_cast<Access*>(handle)->descriptor, buffer, static_cast<std::size_t>(size));
}

tmsize_t writeFile(thandle_t handle, void* buffer, tmsize_t size) {
    auto& access = *static_cast<Access*>(handle);
    tmsize_t done = 0;
    while (!access.hasFailed && done < size) {
        const ssize_t count = ::write(access.descriptor, static_cast<std::uint8_t*>(buffer) + done,
                                      static_cast<std::size_t>(size - done));
        if (count > 0) {
            done += count;
        } else if (count == 0 || errno != EINTR) {
            access.hasFailed = true;
            access.error = errno;
        }
    }
    return done;
}

toff_t seekFile(thandle_t handle, toff_t offset, int from) {
    return static_cast<toff_t>(
        ::lseek(static_cast<Access*>(handle)->descriptor, static_cast<off_t>(offset), from));
}

int closeFile(thandle_t /*handle*/) { return 0; }

toff_t sizeOfFile(thandle_t handle) {
    const int descriptor = static_cast<Access*>(handle)->descriptor;
    const off_t here = ::lseek(descriptor, 0, SEEK_CUR);
    const off_t size = ::lseek(descriptor, 0, SEEK_END);
    ::lseek(descriptor, here, SEEK_SET);
    return static_cast<toff_t>(size);
}

struct CloseTiff {
    void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
using TiffPointer = std::unique_ptr<TIFF, CloseTiff>;

/// The chain of the pages' directories in a file, whichever way round its numbers are.
class DirectoryChain {
public:
    explicit DirectoryChain(int descriptor) : descriptor_(descriptor) {
        std::array<std::uint8_t, headSize> bytes{};
        isTiff_ = read(0, bytes) && bytes[0] == bytes[1] && (bytes[0] == 'I' || bytes[0] == 'M');
        isBigEndian_ = bytes[0] == 'M';
    }

    /// Ends the chain behind the last directory that is whole and lies before `end`; how many these are.
    std::size_t endBefore(std::uint64_t end) {
        std::size_t count = 0;
        std::uint64_t link = 4; // where the next directory's place stands
        while (isTiff_) {
            const std::uint64_t place = number<4>(link);
            if (place == 0) {
                break;
            }
            const std::uint64_t entries = place < end ? number<2>(place) : 0;
            const std::uint64_t next = place + 2 + entries * 12;
            if (place <= link || entries == 0 || next + 4 > end) {
                const std::array<std::uint8_t, 4> nowhere{};
                isTiff_ = ::pwrite(descriptor_, nowhere.data(), nowhere.size(), static_cast<off_t>(link)) ==
                          static_cast<ssize_t>(nowhere.size());
                break;
            }
            ++count;
            link = next;
        }
        return isTiff_ ? count : 0;
    }

private:
    template <std::size_t Size> bool read(std::uint64_t offset, std::array<std::uint8_t, Size>& bytes) const {
        return ::pread(descriptor_, bytes.data(), Size, static_cast<off_t>(offset)) ==
               static_cast<ssize_t>(Size);
    }
    /// 0 when the file is shorter.
    template <std::size_t Size> std::uint64_t number(std::uint64_t offset) const {
        std::array<std::uint8_t, Size> bytes{};
        if (!read(offset, bytes)) {
            return 0;
        }
        std::uint64_t value = 0;
        for (std::size_t i = 0; i < Size; ++i) {
            value = value << 8U | bytes.at(isBigEndian_ ? i : Size - 1 - i);
        }
        return value;
    }

    int descriptor_;
    bool isTiff_ = false;
    bool isBigEndian_ = false;
};

/// One directory of the file for each page.
class TiffWriter final : public DocumentWriter {
public:
    TiffWriter(const ScanSettings& settings, const DocumentFile& file)
        : file_(file), access_{file.descriptor()}, group4_(settings.tiffGroup4),
          tiff_(TIFFClientOpen("scan", settings.tiffBigEndian ? "wb" : "wl", &access_, readFile, writeFile,
                               seekFile, closeFile, sizeOfFile, nullptr, nullptr)) {}

    bool isOpen() const { return tiff_ != nullptr; }

    bool hasRoomFor(const PageImage& page) const override {
        constexpr std::uint64_t longestFile = std::numeric_limits<std::uint32_t>::max();
        return end_ + page.pixels.size() + roomForDirectory < longestFile;
    }

    bool addPage(const PageImage& page) override {
        const bool isWhole = file_.reserve(page.pixels.size() + roomForDirectory) && write(page);
        if (isWhole) {
            end_ = sizeOfFile(&access_);
            return true;
        }
        const int error = access_.hasFailed ? access_.error : errno;
        access_.hasFailed = true; // the library would write the half page when it is closed
        tiff_.reset();
        file_.cut(end_);
        DirectoryChain(file_.descriptor()).endBefore(end_);
        errno = error;
        return false;
    }

    bool finish(const std::string& /*title*/) override {
        if (!tiff_) {
            return end_ > 0;
        }
        const bool flushed = TIFFFlush(tiff_.get()) == 1;
        tiff_.reset();
        errno = access_.hasFailed ? access_.error : errno;
        return flushed && !access_.hasFailed;
    }

private:
    bool write(const PageImage& page) {
        constexpr std::size_t stripSize = std::size_t{256} << 10;
        const std::size_t rowsPerStrip =
            isGroup4(page) ? page.height : std::max<std::size_t>(1, stripSize / page.bytesPerRow());
        describe(page, rowsPerStrip);
        std::uint32_t strip = 0;
        for (std::size_t y = 0; y < page.height; y += rowsPerStrip, ++strip) {
            const std::size_t rows = std::min(rowsPerStrip, page.height - y);
            auto* bytes = const_cast<std::uint8_t*>(page.row(y));
            if (TIFFWriteEncodedStrip(tiff_.get(), strip, bytes,
                                      static_cast<tmsize_t>(rows * page.bytesPerRow())) < 0) {
                return false;
            }
        }
        return TIFFWriteDirectory(tiff_.get()) == 1 && !access_.hasFailed;
    }

    /// Group 4 knows black and white only.
    bool isGroup4(const PageImage& page) const { return group4_ && page.type == ImageType::blackAndWhite; }

    void describe(const PageImage& page, std::size_t rowsPerStrip) {
        TIFF* tiff = tiff_.get();
        TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(page.width));
        TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(page.height));
        TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, page.type == ImageType::blackAndWhite ? 1 : 8);
        TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, page.type == ImageType::colour ? 3 : 1);
        TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, photometric(page.type));
        TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
        TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
        TIFFSetField(tiff, TIFFTAG_COMPRESSION, isGroup4(page) ? COMPRESSION_CCITTFAX4 : COMPRESSION_NONE);
        TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
        TIFFSetField(tiff, TIFFTAG_XRESOLUTION, page.resolution);
        TIFFSetField(tiff, TIFFTAG_YRESOLUTION, page.resolution);
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, static_cast<std::uint32_t>(rowsPerStrip));
    }

    static int photometric(ImageType type) {
        switch (type) {
        case ImageType::colour:
            return PHOTOMETRIC_RGB;
        case ImageType::grey:
            return PHOTOMETRIC_MINISBLACK;
        case ImageType::blackAndWhite:
            return PHOTOMETRIC_MINISWHITE;
        }
        return PHOTOMETRIC_MINISBLACK;
    }

    const DocumentFile& file_;
    Access access_;
    bool group4_;
    std::uint64_t end_ = 0; ///< of the pages that are whole
    TiffPointer tiff_;      // goes before what it writes through
};

} // namespace

std::unique_ptr<DocumentWriter> makeTiffWriter(const ScanSettings& settings, const DocumentFile& file) {
    auto writer = std::make_unique<TiffWriter>(settings, file);
    return writer->isOpen() ? std::move(writer) : nullptr;
}

std::size_t completeTiff(const DocumentFile& file) {
    const off_t size = ::lseek(file.descriptor(), 0, SEEK_END);
    return size > 0 ? DirectoryChain(file.descriptor()).endBefore(static_cast<std::uint64_t>(size)) : 0;
}

} // namespace trigora::companions
