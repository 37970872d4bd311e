#pragma once

#include "companions/PScanAssistant/documents/DocumentFile.h"
#include "companions/PScanAssistant/documents/PageImage.h"

#include <memory>

namespace trigora::companions {

/// Writes pages into one file as they come; the file must outlive the writer. Usual order: `addPage` (once,
/// or for each page where the format has several), `finish`.
class DocumentWriter {
public:
    virtual ~DocumentWriter() = default;

    // Where one of these fails, errno tells why.

    /// Whether the format can take the page, too; when not, a new document has to be begun.
    virtual bool hasRoomFor(const PageImage& /*page*/) const { return true; }
    /// After a failure the file holds the pages before, and `finish` makes a whole document of them.
    virtual bool addPage(const PageImage& page) = 0;
    /// Writes what is left to write.
    virtual bool finish(const std::string& title) = 0;
};

/// A writer for the settings' file format; null when it cannot be made.
std::unique_ptr<DocumentWriter> makeDocumentWriter(const ScanSettings& settings, const DocumentFile& file);

std::unique_ptr<DocumentWriter> makeJpegWriter(const ScanSettings& settings, const DocumentFile& file);
std::unique_ptr<DocumentWriter> makePdfWriter(const ScanSettings& settings, const DocumentFile& file);
std::unique_ptr<DocumentWriter> makeBmpWriter(const DocumentFile& file);
std::unique_ptr<DocumentWriter> makeTiffWriter(const ScanSettings& settings, const DocumentFile& file);

/// Makes a whole document of what the writer of a multi-page format had written when it was killed; how many
/// pages it holds, 0 when there is none.
std::size_t completeDocument(FileFormat format, const DocumentFile& file, const std::string& title);
std::size_t completePdf(const DocumentFile& file, const std::string& title);
std::size_t completeTiff(const DocumentFile& file);

} // namespace trigora::companions
