#pragma once

#include "modules/network_scan.h"
#include "netscan/panel/PanelEventContext.h"

#include <cstdint>

/// Panel requests of scanners that the button manager serves. Called on the scan module's threads.
namespace trigora {

/// A request to scan: 1 when the button manager took it, 8 when it did not or there is no record.
std::int32_t ExecuteJob_Corvane_V2(const NSMScanRequest* request);

/// A command for a job: the panel is relieved of its choices, which are of no use here, and the button
/// manager is told. 8 when there is no panel driver, else 1, whether or not the button manager took it.
std::int32_t ExecuteJob_Corvane_V3(const _PSMLPANELSCANJOBINFO& record, const PanelEventContext& manager,
                                   std::int32_t kind);

} // namespace trigora
