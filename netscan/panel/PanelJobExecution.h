#pragma once

#include "modules/network_scan.h"
#include "netscan/panel/PanelEventContext.h"
#include "netscan/panel/SVJobInterface.h"

#include <cstdint>
#include <optional>

namespace trigora {

/// What the user does with a job at a network scanner's panel, by event kind 4 (a command) or 6 (the end):
/// 1 when it was done, 8 when the panel driver or the jobs are missing or the job was refused, 9 when the
/// document-capture application is not ready. Called on the scan module's threads.
std::int32_t ExecuteJob(const _PSMLPANELSCANJOBINFO& record, const PanelEventContext& manager,
                        std::int32_t kind);

/// Whether the job interface took a PANEL_COMMAND other than start; none for an unknown command.
std::optional<bool> sendJobCommand(const SVJobInterface& jobInterface, std::int32_t command);

} // namespace trigora
