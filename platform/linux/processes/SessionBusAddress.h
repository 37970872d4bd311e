#pragma once

#include <string>
#include <string_view>

namespace trigora::platform {

/// The session bus of this program: that of DBUS_SESSION_BUS_ADDRESS, or else of XDG_RUNTIME_DIR. Empty when
/// neither is set.
std::string sessionBusAddress();

/// The same for an environment: "NAME=value" texts, each with a NUL at its end.
std::string sessionBusAddress(std::string_view environment);

/// The address without what only identifies the server, so that two addresses of one bus are equal.
std::string withoutServerID(std::string_view address);

} // namespace trigora::platform
