#pragma once

#include "companions/PScanAssistant/ScanSettings.h"
#include "companions/PScanAssistant/Scanner.h"

#include <functional>
#include <string>
#include <vector>

namespace trigora::companions {

struct ScanOutcome {
    std::vector<std::string> fileNames; ///< what was made, in order
    std::string failure;                ///< empty when all went well, else why not
};

/// Scans by the settings into an existing folder on the disk. From the feeder all pages are taken, into one
/// document or a file each as the format has it. Every file is whole: pages that were scanned before a
/// failure are kept, what was being written when the scan was cancelled is not. `progress` is called all
/// along; when it answers false, the scan is cancelled.
ScanOutcome scanDocument(Scanner& scanner, const ScanSettings& settings, const std::string& folder,
                         const std::function<bool()>& progress);

} // namespace trigora::companions
