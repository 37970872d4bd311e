#pragma once

#include "platform/AppleEvents.h"

namespace trigora {

/// The ID of the Apple Event that asks the agent what it is doing now; its class is
/// `platform::productEventClass`. The reply's direct parameter, of type 'utf8', is one JSON object:
///
///     "processID", "root" (of the installation), "uptime" (seconds), "log" (whether it is on),
///     "press" (the event in progress, or nothing), "projectIsRunning", "application" (of the project that is
///     running, or nothing), "watchedFolders" and "modules" (lists of paths), "failedModules" (those that
///     could not be loaded: a list of objects with "path" and "reason")
constexpr std::uint32_t statusEventID = platform::fourCharCode("Stat");

} // namespace trigora
