#pragma once

#include <string_view>

namespace trigora::buttons {

/// Whether a USB device may be a scanner: one that the rules of SANE's package marked as such, or one of
/// whose interfaces is of a class that scanners use. `interfaces` is udev's ID_USB_INTERFACES, e.g.
/// ":ffffff:070102:"; a device of which nothing is known may be one.
bool mayBeScanner(bool isMarkedBySane, std::string_view interfaces);

} // namespace trigora::buttons
