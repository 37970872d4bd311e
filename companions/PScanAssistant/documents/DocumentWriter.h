#pragma once

#include "companions/PScanAssistant/documents/DocumentFile.h"
#include "companions/PScanAssistant/documents/PageImage.h"

#include <memory>

namespace trigora::companions {

/// Writes pages into one file, which must outlive the writer. Usual order: `addPage` (once, or for each page
/// where the format has several), `finish`. After a failure the file is worth nothing.
class DocumentWriter {
public:
    virtual ~DocumentWriter() = default;

    virtual bool addPage(const PageImage& page) = 0;
    /// Writes what is left to write.
    virtual bool finish() = 0;
};

/// A writer for the settings' file format; null when it cannot be made.
std::unique_ptr<DocumentWriter> makeDocumentWriter(const ScanSettings& settings, const DocumentFile& file);

std::unique_ptr<DocumentWriter> makeJpegWriter(const ScanSettings& settings, const DocumentFile& file);
std::unique_ptr<DocumentWriter> makePdfWriter(const ScanSettings& settings, const DocumentFile& file);
std::unique_ptr<DocumentWriter> makeBmpWriter(const DocumentFile& file);
std::unique_ptr<DocumentWriter> makeTiffWriter(const ScanSettings& settings, const DocumentFile& file);

} // namespace trigora::companions
