#include "companions/PScanAssistant/documents/DocumentWriter.h"

namespace trigora::companions {

std::unique_ptr<DocumentWriter> makeDocumentWriter(const ScanSettings& settings, const DocumentFile& file) {
    switch (settings.fileFormat) {
    case FileFormat::jpeg:
        return makeJpegWriter(settings, file);
    case FileFormat::pdf:
        return makePdfWriter(settings, file);
    case FileFormat::bmp:
        return makeBmpWriter(file);
    case FileFormat::tiff:
    case FileFormat::multiPageTiff:
        return makeTiffWriter(settings, file);
    }
    return nullptr;
}

std::size_t completeDocument(FileFormat format, const DocumentFile& file, const std::string& title) {
    switch (format) {
    case FileFormat::pdf:
        return completePdf(file, title);
    case FileFormat::multiPageTiff:
        return completeTiff(file);
    default:
        return 0; // one page, which is published as soon as it is whole
    }
}

} // namespace trigora::companions
