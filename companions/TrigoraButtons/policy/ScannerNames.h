#pragma once

#include "companions/TrigoraButtons/policy/ScannerReader.h"

#include <cstdint>

namespace trigora::buttons {

/// What the agent and the scan assistant call a scanner.
struct ScannerNames {
    std::string driverName;
    std::string modelName;
    std::uint32_t modelID = 0;   ///< 0 when unknown
    bool hasDriverEntry = false; ///< in one of the two files ScannerDrivers.ini

    bool operator==(const ScannerNames&) const = default;
};

/// The names of a scanner among all that are attached: those of the entry in ScannerDrivers.ini that means
/// it, the user's own before the installed one, else vendor and model, or where two have the same or the name
/// is too long for an event, another one that the scan assistant finds it by. Main thread only.
ScannerNames namesOf(const FoundScanner& scanner, const std::vector<FoundScanner>& attached);

} // namespace trigora::buttons
