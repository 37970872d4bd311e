#pragma once

#include "modules/network_scan.h"
#include "netscan/PanelEventContext.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

/// What the agent answers when the user of a network scanner does something at its panel. Everything here
/// is called on the scan module's threads, several at once; records are the module's and are never read or
/// written beyond their fields.
namespace trigora {

/// The call-back handed to the network-scan module. The context is the `PanelEventContext`. Gives a
/// PANEL_RESULT; a record that is missing gives 9 for a simple scan and 8 for the rest.
extern "C" std::int32_t eventCallback(_NSMEvent* event, std::int32_t kind, void* data, std::int32_t reserved,
                                      void* context);

/// A request to scan to this computer: 1 when the scanner's confirmation is on its way, 9 when a project is
/// running or the request does not say which scanner it is.
std::int32_t RunScanJobV2(_NSMEvent* event, std::int32_t kind, void* data, std::int32_t reserved,
                          void* context);

/// Sends the saved jobs of the record's scanner to its panel: 8 when there is no panel driver or the list
/// could not be sent; 1 when it was, and also when the panel or the jobs could not be reached.
std::int32_t SendJobInfoToPanel(_PSMLPANELSCANJOBINFO& record, PanelEventContext& manager);

/// The same with one placeholder job, for a scanner that another application serves.
std::int32_t SendJobInfoToPanel_Dummy(const _PSMLPANELSCANJOBINFO& record, PanelEventContext& manager);

/// Whether the button manager serves the scanner; no for none.
bool isCorvaneSupported(const std::optional<std::string>& productID);

} // namespace trigora
