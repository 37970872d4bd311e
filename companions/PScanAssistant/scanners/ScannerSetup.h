#pragma once

#include "companions/PScanAssistant/scanners/Scanner.h"
#include "companions/PScanAssistant/settings/ScanNote.h"
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
    /// Whether there is paper in the feeder; none when the scanner cannot tell.
    std::optional<bool> feederHasPaper;
    bool canChoose = false; ///< the scanner has a choice of sources
};

PaperPaths paperPaths(Scanner& scanner);

/// What came of setting a scanner up.
struct ScannerSetup {
    double resolution = 0;     ///< that the scanner will use, dots per inch
    bool takesPages = false;   ///< from the feeder, until it is empty
    bool mayTryTable = false;  ///< when the feeder is empty from the start
    std::size_t mostLines = 0; ///< that a page can have
    // What the scanner cannot do and is to be done with its pages.
    int quarterTurns = 0; ///< clockwise
    bool sharpen = false;
    bool descreen = false;
    bool enhance = false;
    std::vector<ScanNote> notes;
};

/// Sets the scanner to the settings, each to the nearest that it can do; the notes say which had to be
/// changed. Automatic is the feeder unless that says that it is empty, else the table. A source that the
/// scanner does not have is replaced: both sides by the feeder, the feeder by the table. None when the
/// scanner refuses what it offered.
std::optional<ScannerSetup> setUp(Scanner& scanner, const ScanSettings& settings);

/// Chooses where to take documents from; false when the scanner refuses. A scanner without a choice is left
/// as it is.
bool chooseSource(Scanner& scanner, DocumentSource source);

/// The option of that name that can be set now; null when there is none.
const ScannerOption* settableOption(const std::vector<ScannerOption>& options, const std::string& name);

/// The scanner's resolution option, under either of its usual names; null when there is none.
const ScannerOption* resolutionOption(const std::vector<ScannerOption>& options);

} // namespace trigora::companions
