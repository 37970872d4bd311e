#pragma once

#include "netscan/panel/PanelEventContext.h"
#include "netscan/panel/PanelJobList.h"
#include "netscan/panel/SVJobInterface.h"

#include <cstdint>
#include <optional>

/// What a request for the list of jobs is answered with, be it by network or by USB.
namespace trigora {

/// Keeps what the panel says of itself, and withdraws the offer of office formats from its capability flags
/// when the job interface (null: there is none) does not support them.
void takePanelCapabilities(std::uint32_t& capabilityFlags, PanelJobFlags& flags,
                           const SVJobInterface* jobInterface);

/// The interface's jobs with its password, in the form that the panel's version takes. The hardware address
/// has 12 characters. None when there is no memory that records can refer to.
std::optional<PanelJobList> jobListToOffer(const SVJobInterface& jobInterface, bool isOldList,
                                           std::uint32_t capabilityFlags, const char* hardwareAddress);

} // namespace trigora
