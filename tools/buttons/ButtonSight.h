#pragma once

#include "platform/Value.h"
#include "platform/linux/files/InstallationRoot.h"

#include <cstdint>
#include <optional>
#include <string>

namespace trigora::tools {

/// What the scanner buttons service sees, with the keys that docs/buttons.md tells.
struct ButtonSight {
    bool isServiceRunning = false;
    Dictionary status;
    std::string error; ///< why the status is empty; empty otherwise
};

/// Asks the running service; none when there is none.
std::optional<Dictionary> statusOfButtonService();
/// The same, or without a service what its program sees when it looks once, which takes seconds.
ButtonSight lookAtButtons(const platform::InstallationRoot& root);

/// The number of the button that a scanner's sensor is: of the scanner that the service watches, or by the
/// back-end of the driver's entry in ScannerDrivers.ini. None when neither knows it.
std::optional<std::uint32_t> buttonOfSensor(const std::string& driverName, const std::string& sensor);

} // namespace trigora::tools
