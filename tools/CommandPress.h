#pragma once

#include "platform/AppleEvents.h"
#include "tools/Command.h"

#include <cstdint>
#include <string>

namespace trigora::tools {

/// The longest driver or model name that the record of a button press holds, in bytes.
constexpr std::size_t longestScannerName = 32;

/// The event that a scanner driver sends when a button is pressed. Names longer than a record holds are
/// cut; an empty one is none.
platform::AppleEvent scanButtonEvent(const std::string& driver, const std::string& model,
                                     std::uint32_t eventStatus);

/// `press`: tells the agent that a scanner's button was pressed, as the scanner's driver would.
Command pressCommand();

} // namespace trigora::tools
