#pragma once

#include "platform/linux/bus/BusConnection.h"

#include <string>

namespace trigora::buttons {

/// Shows the user a message and waits for nothing. Without a notification server it is lost.
void showDesktopMessage(platform::BusConnection& connection, const std::string& title,
                        const std::string& text);

} // namespace trigora::buttons
