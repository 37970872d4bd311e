#pragma once

#include "platform/AppleEvents.h"

namespace trigora::buttons {

/// What the scanner buttons service takes events by.
constexpr std::uint32_t serviceSignature = platform::fourCharCode("TgBt");
/// The ID of the Apple Event that asks it what scanners there are; its class is
/// `platform::productEventClass`. The reply's direct parameter, of type 'utf8', is one JSON object, which
/// docs/buttons.md describes.
constexpr std::uint32_t buttonStatusEventID = platform::fourCharCode("BtSt");

} // namespace trigora::buttons
