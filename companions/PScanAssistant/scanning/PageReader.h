#pragma once

#include "companions/PScanAssistant/documents/PageImage.h"
#include "companions/PScanAssistant/scanners/Scanner.h"
#include "companions/PScanAssistant/scanning/ScanProgress.h"

#include <optional>

namespace trigora::companions {

/// What came of reading one side.
struct PageReading {
    /// With a page: `good`, `noDocuments` when it was the last one, or `failed` when the scanner sent more
    /// than it had announced. Without: `noDocuments` when the feeder has run empty, else why there is none.
    ScannerStatus status = ScannerStatus::failed;
    std::optional<PageImage> page; ///< as the scanner sends it, 8 bits a sample or black and white
};

/// Starts the scanner and reads one side. A page of unknown length may have so many lines and no more. A read
/// that brings nothing is no progress; when `progress` wishes anything but to go on, the page is given up as
/// cancelled.
PageReading readPage(Scanner& scanner, double resolution, std::size_t mostLines,
                     const ScanProgress& progress);

} // namespace trigora::companions
