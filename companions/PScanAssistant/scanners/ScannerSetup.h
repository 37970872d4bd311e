#pragma once

#include "companions/PScanAssistant/scanners/Scanner.h"
#include "companions/PScanAssistant/settings/ScanSettings.h"

#include <optional>
#include <string>
#include <vector>

namespace trigora::companions {

/// Where a scanner takes its documents from, as far as it can be chosen.
struct PaperPaths {
    bool hasTable = false;
    bool hasFeeder = false;
    bool hasDuplexFeeder = false;
    bool feederHasPaper = false; ///< false also when the scanner cannot tell
};

PaperPaths paperPaths(Scanner& scanner);

/// What came of setting a scanner up.
struct ScannerSetup {
    double resolution = 0;   ///< that the scanner will use, dots per inch
    bool takesPages = false; ///< from the feeder, until it is empty
};

/// Sets the scanner to the settings, each to the nearest that it can do. A source that it does not have is
/// chosen automatically: the feeder when it says that it has paper, else the table. None when the scanner
/// refuses what it offered.
std::optional<ScannerSetup> setUp(Scanner& scanner, const ScanSettings& settings);

/// Chooses where to take documents from; false when the scanner refuses. A scanner without a choice is left
/// as it is.
bool chooseSource(Scanner& scanner, DocumentSource source);

/// The option of that name that can be set now; null when there is none.
const ScannerOption* settableOption(const std::vector<ScannerOption>& options, const std::string& name);

/// The scanner's resolution option, under either of its usual names; null when there is none.
const ScannerOption* resolutionOption(const std::vector<ScannerOption>& options);

} // namespace trigora::companions
