#pragma once

#include "companions/PScanAssistant/documents/PageImage.h"
#include "companions/PScanAssistant/scanners/Scanner.h"
#include "companions/PScanAssistant/scanning/ScanProgress.h"

#include <variant>

namespace trigora::companions {

/// Starts the scanner and reads one side into a picture of the wanted type. The status tells why there is
/// none: `noDocuments` when the feeder has run empty, else `cancelled` or `failed`. A read that brings
/// nothing is no progress; when `progress` wishes anything but to go on, the page is given up as cancelled.
std::variant<PageImage, ScannerStatus> readPage(Scanner& scanner, ImageType type, double resolution,
                                                const ScanProgress& progress);

} // namespace trigora::companions
