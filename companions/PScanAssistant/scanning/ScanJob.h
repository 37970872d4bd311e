#pragma once

#include "companions/PScanAssistant/scanners/Scanner.h"
#include "companions/PScanAssistant/scanning/ScanProgress.h"
#include "companions/PScanAssistant/settings/ScanSettings.h"

#include <string>
#include <vector>

namespace trigora::companions {

struct ScanOutcome {
    std::vector<std::string> fileNames; ///< what was made, in order
    std::string failure;                ///< empty when all went well, else why not
};

/// Scans by the settings into an existing folder on the disk. From the feeder all pages are taken, into one
/// document or a file each as the format has it. Every file is whole: pages that were scanned before a
/// failure, a stop or the scanner's own Cancel key are kept; only when `progress` wishes to discard, what was
/// being written is not.
ScanOutcome scanDocument(Scanner& scanner, const ScanSettings& settings, const std::string& folder,
                         const ScanProgress& progress);

} // namespace trigora::companions
