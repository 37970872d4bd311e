#pragma once

#include "platform/AppleEvents.h"

#include <cstdint>
#include <optional>

namespace trigora {

/// The ID of the Apple Event that tells the agent of a USB scanner with a control panel; its class is
/// `platform::productEventClass`.
constexpr std::uint32_t usbScannerEventID = platform::fourCharCode("UbPo");

/// The event for a scanner with that USB product ID.
platform::AppleEvent usbScannerEvent(std::uint32_t productID);
/// The USB product ID that such an event names: an integer of 1, 2, 4 or 8 bytes, of whatever type. None when
/// it names none, or a number that is not a product ID.
std::optional<std::uint32_t> productIDOfUsbScanner(const platform::AppleEvent& event);

} // namespace trigora
