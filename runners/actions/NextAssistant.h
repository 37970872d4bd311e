#pragma once

#include "platform/AppleEvents.h"
#include "platform/Value.h"
#include "platform/Workspace.h"

#include <cstdint>
#include <optional>
#include <string>

/// What several runners do with the applications that they start.
namespace trigora {

/// Launches the application at "NextAssistantPath" of a scan assistant data dictionary. The status is the
/// platform's error when there is no such entry or item, or it cannot be started.
platform::ApplicationLaunch launchNextAssistant(const Dictionary& scanAssistantData);

/// Sends an event with plain bytes ('****') as its direct parameter and wants no reply. 0, or the platform's
/// error.
std::int32_t sendBytes(const platform::AppleEventTarget& target, std::uint32_t eventClass,
                       std::uint32_t eventID, Data bytes);

/// Starts an application bundle for a scanner: with "--twainname" and the "driverName" of the scan assistant
/// data. Without a driver name there is only the option.
void launchForScanner(const std::string& path, const Dictionary& scanAssistantData);

/// Ends a running scan assistant and waits until it has gone.
void endRunningScanAssistant();

/// Starts the scan assistant and, when it runs then and both are given, tells it that the scanner is
/// confirmed.
void confirmScannerThroughScanAssistant(const std::optional<std::string>& driverName,
                                        const std::optional<std::string>& ipAddress);

} // namespace trigora
