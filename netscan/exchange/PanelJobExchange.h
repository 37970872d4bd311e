#pragma once

#include "modules/network_scan.h"
#include "netscan/panel/PanelEventContext.h"

#include <cstdint>

/// What the agent answers when the user of a network scanner does something at its panel. Everything here
/// is called on the scan module's threads, several at once; records are the module's and are never read or
/// written beyond their fields.
namespace trigora {

/// The call-back handed to the network-scan module. The context is the `PanelEventContext`. Returns a
/// PANEL_RESULT; for a record that is missing it is 9 for a simple scan and 8 for the rest.
extern "C" std::int32_t eventCallback(_NSMEvent* event, std::int32_t kind, void* data, std::int32_t reserved,
                                      void* context);

} // namespace trigora
