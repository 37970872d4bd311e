#include "companions/PScanAssistant/documents/DocumentWriter.h"

#include <tiffio.h>

#include <unistd.h>

namespace trigora::companions {

namespace {

struct CloseTiff {
    void operator()(TIFF* tiff) const { TIFFClose(tiff); }
};
using TiffPointer = std::unique_ptr<TIFF, CloseTiff>;

/// One directory of the file for each page.
class TiffWriter final : public DocumentWriter {
public:
    TiffWriter(TiffPointer tiff, bool group4) : tiff_(std::move(tiff)), group4_(group4) {}

    bool addPage(const PageImage& page) override {
        describe(page);
        for (std::size_t y = 0; y < page.height; ++y) {
            auto* row = const_cast<std::uint8_t*>(page.row(y));
            if (TIFFWriteScanline(tiff_.get(), row, static_cast<std::uint32_t>(y), 0) < 0) {
                return false;
            }
        }
        return TIFFWriteDirectory(tiff_.get()) == 1;
    }

    bool finish() override {
        const bool flushed = TIFFFlush(tiff_.get()) == 1;
        tiff_.reset();
        return flushed;
    }

private:
    void describe(const PageImage& page) {
        TIFF* tiff = tiff_.get();
        const bool isColour = page.type == ImageType::colour;
        const bool isBlackAndWhite = page.type == ImageType::blackAndWhite;
        TIFFSetField(tiff, TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(page.width));
        TIFFSetField(tiff, TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(page.height));
        TIFFSetField(tiff, TIFFTAG_BITSPERSAMPLE, isBlackAndWhite ? 1 : 8);
        TIFFSetField(tiff, TIFFTAG_SAMPLESPERPIXEL, isColour ? 3 : 1);
        TIFFSetField(tiff, TIFFTAG_PHOTOMETRIC, photometric(page.type));
        TIFFSetField(tiff, TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
        TIFFSetField(tiff, TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
        // Group 4 knows black and white only.
        TIFFSetField(tiff, TIFFTAG_COMPRESSION,
                     group4_ && isBlackAndWhite ? COMPRESSION_CCITTFAX4 : COMPRESSION_NONE);
        TIFFSetField(tiff, TIFFTAG_RESOLUTIONUNIT, RESUNIT_INCH);
        TIFFSetField(tiff, TIFFTAG_XRESOLUTION, page.resolution);
        TIFFSetField(tiff, TIFFTAG_YRESOLUTION, page.resolution);
        TIFFSetField(tiff, TIFFTAG_ROWSPERSTRIP, TIFFDefaultStripSize(tiff, 0));
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

    TiffPointer tiff_;
    bool group4_;
};

} // namespace

std::unique_ptr<DocumentWriter> makeTiffWriter(const ScanSettings& settings, const DocumentFile& file) {
    // The library closes the descriptor that it is given.
    const int descriptor = ::dup(file.descriptor());
    if (descriptor < 0) {
        return nullptr;
    }
    TiffPointer tiff(TIFFFdOpen(descriptor, "scan", settings.tiffBigEndian ? "wb" : "wl"));
    if (!tiff) {
        ::close(descriptor);
        return nullptr;
    }
    return std::make_unique<TiffWriter>(std::move(tiff), settings.tiffGroup4);
}

} // namespace trigora::companions
