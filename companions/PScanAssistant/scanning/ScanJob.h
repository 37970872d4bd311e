#pragma once

#include "companions/PScanAssistant/scanners/ScanFailure.h"
#include "companions/PScanAssistant/scanners/Scanner.h"
#include "companions/PScanAssistant/scanning/DocumentSequence.h"
#include "companions/PScanAssistant/scanning/ScanProgress.h"
#include "companions/PScanAssistant/settings/ScanNote.h"
#include "companions/PScanAssistant/settings/ScanSettings.h"

#include <string>
#include <vector>

namespace trigora::companions {

struct ScanOutcome {
    std::vector<std::string> paths; ///< of the documents that were made, in order, on the disk
    std::size_t pageCount = 0;      ///< in all of them
    ScanFailure failure;
    std::vector<ScanNote> notes; ///< what was not as the settings have it
};

/// Scans by the settings. From the feeder all pages are taken, into one document or a file each as the format
/// has it; a page is written while the next one is read. Every file is whole, and pages that were read before
/// a failure or the scan's end from outside are kept.
ScanOutcome scanDocument(Scanner& scanner, const ScanSettings& settings, const ScanPlace& place,
                         ScanWatch& watch);

} // namespace trigora::companions
