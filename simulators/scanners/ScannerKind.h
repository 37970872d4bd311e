#pragma once

#include "simulators/scanners/ScannerState.h"

#include <string>
#include <vector>

namespace trigora::simulators {

/// A sensor as its back-end describes it.
struct SensorKind {
    enum class Role { button, state, feeder };

    const char* option;
    SensorType type = SensorType::boolean;
    Role role = Role::button;
    bool isSetByHardware = true;
};

/// What a back-end of the real world shows of its scanners' sensors.
struct ScannerKind {
    const char* backend;
    Reading reading;
    bool readsInOpen;   ///< and remembers what it read
    bool forgetsUnread; ///< at the next look at the hardware
    int readingTakes;   ///< milliseconds
    std::vector<SensorKind> sensors;
    std::vector<const char*> switches; ///< options that can be set and are not sensors, though they sound so
    std::vector<const char*> texts;    ///< what its text sensor can say; empty for anything
};

/// All back-ends that are simulated.
const std::vector<ScannerKind>& scannerKinds();
/// Null for another name.
const ScannerKind* scannerKind(const std::string& backend);

} // namespace trigora::simulators
