#include "companions/PScanAssistant/documents/DocumentWriter.h"
#include "companions/PScanAssistant/documents/JpegEncoder.h"

namespace trigora::companions {

namespace {

class JpegWriter final : public DocumentWriter {
public:
    JpegWriter(int quality, const DocumentFile& file) : quality_(quality), file_(file) {}

    bool addPage(const PageImage& page) override {
        const std::optional<Data> bytes = encodeJpeg(page, quality_);
        return bytes && file_.write(bytes->data(), bytes->size());
    }
    bool finish(const std::string& /*title*/) override { return true; }

private:
    int quality_;
    const DocumentFile& file_;
};

} // namespace

std::unique_ptr<DocumentWriter> makeJpegWriter(const ScanSettings& settings, const DocumentFile& file) {
    return std::make_unique<JpegWriter>(settings.jpegQuality, file);
}

} // namespace trigora::companions
