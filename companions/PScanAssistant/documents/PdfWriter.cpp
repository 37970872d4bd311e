#include "companions/PScanAssistant/documents/DocumentWriter.h"
#include "companions/PScanAssistant/documents/JpegEncoder.h"

#include <hpdf.h>

#include <algorithm>
#include <array>
#include <type_traits>

namespace trigora::companions {

namespace {

constexpr double pointsPerInch = 72.0;
// What a page of the format can measure, in points.
constexpr double shortestSide = 3.0;
constexpr double longestSide = 14400.0;

struct FreeDocument {
    void operator()(HPDF_Doc document) const { HPDF_Free(document); }
};
using DocumentPointer = std::unique_ptr<std::remove_pointer_t<HPDF_Doc>, FreeDocument>;

float points(std::size_t pixels, double resolution) {
    return static_cast<float>(
        std::clamp(static_cast<double>(pixels) / resolution * pointsPerInch, shortestSide, longestSide));
}

/// Every page is one picture in its true size: colour and grey as JPEG, black and white as Group 4.
class PdfWriter final : public DocumentWriter {
public:
    PdfWriter(DocumentPointer document, int quality, const DocumentFile& file)
        : document_(std::move(document)), quality_(quality), file_(file) {}

    bool addPage(const PageImage& page) override {
        HPDF_Image picture = load(page);
        HPDF_Page sheet = picture != nullptr ? HPDF_AddPage(document_.get()) : nullptr;
        if (sheet == nullptr) {
            return false;
        }
        const float width = points(page.width, page.resolution);
        const float height = points(page.height, page.resolution);
        return HPDF_Page_SetWidth(sheet, width) == HPDF_OK && HPDF_Page_SetHeight(sheet, height) == HPDF_OK &&
               HPDF_Page_DrawImage(sheet, picture, 0, 0, width, height) == HPDF_OK;
    }

    bool finish() override {
        if (HPDF_SaveToStream(document_.get()) != HPDF_OK) {
            return false;
        }
        std::array<HPDF_BYTE, 65536> buffer{};
        for (;;) {
            auto size = static_cast<HPDF_UINT32>(buffer.size());
            const HPDF_STATUS status = HPDF_ReadFromStream(document_.get(), buffer.data(), &size);
            if (status != HPDF_OK && status != HPDF_STREAM_EOF) {
                return false;
            }
            if (!file_.write(buffer.data(), size)) {
                return false;
            }
            if (status == HPDF_STREAM_EOF || size == 0) {
                return true;
            }
        }
    }

private:
    HPDF_Image load(const PageImage& page) {
        if (page.type == ImageType::blackAndWhite) {
            return HPDF_Image_LoadRaw1BitImageFromMem(
                document_.get(), page.pixels.data(), static_cast<HPDF_UINT>(page.width),
                static_cast<HPDF_UINT>(page.height), static_cast<HPDF_UINT>(page.bytesPerRow()),
                // What is black is encoded as black in any case; true would have it shown as white.
                HPDF_FALSE, HPDF_TRUE);
        }
        const std::optional<Data> jpeg = encodeJpeg(page, quality_);
        return jpeg ? HPDF_LoadJpegImageFromMem(document_.get(), jpeg->data(),
                                                static_cast<HPDF_UINT>(jpeg->size()))
                    : nullptr;
    }

    DocumentPointer document_;
    int quality_;
    const DocumentFile& file_;
};

} // namespace

std::unique_ptr<DocumentWriter> makePdfWriter(const ScanSettings& settings, const DocumentFile& file) {
    DocumentPointer document(HPDF_New(nullptr, nullptr));
    // Without this the library compresses line art and forgets to say so.
    if (!document || HPDF_SetCompressionMode(document.get(), HPDF_COMP_IMAGE) != HPDF_OK) {
        return nullptr;
    }
    return std::make_unique<PdfWriter>(std::move(document), settings.jpegQuality, file);
}

} // namespace trigora::companions
