#pragma once

#include <optional>
#include <string>

namespace trigora {

/// Asks the scan assistant whether a scanner is there and what it is. What is not known is left out. Any
/// thread.
void postConfirmationRequest(const std::optional<std::string>& driverName,
                             const std::optional<std::string>& ipAddress, bool deliverImmediately);

} // namespace trigora
