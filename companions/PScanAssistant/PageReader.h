#pragma once

#include "companions/PScanAssistant/PageImage.h"
#include "companions/PScanAssistant/Scanner.h"

#include <functional>
#include <variant>

namespace trigora::companions {

/// Starts the scanner and reads one side into a picture of the wanted type. The status tells why there is
/// none: `noDocuments` when the feeder has run empty, else `cancelled` or `failed`. `progress` is called
/// whenever data has come; when it answers false, the scan is given up as cancelled.
std::variant<PageImage, ScannerStatus> readPage(Scanner& scanner, ImageType type, double resolution,
                                                const std::function<bool()>& progress);

} // namespace trigora::companions
