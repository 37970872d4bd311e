#pragma once

#include <optional>
#include <string>

namespace trigora {

class TrScannerDriverInformation;

/// Where the installed projects of a device lie that keeps its projects apart: the folder of the user's
/// language, else the English one. None for a device without any.
std::optional<std::string> deviceProjectFolder(const TrScannerDriverInformation& driver);

} // namespace trigora
