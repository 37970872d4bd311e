#pragma once

#include "modules/panel_driver.h"
#include "netscan/panel/PanelEventContext.h"
#include "platform/Value.h"

#include <cstdint>

namespace trigora {

/// The options (modules/job_interface.h) that a job is started with after the user's choices at the panel.
/// A setting whose choice is left to the application is present without a value.
Dictionary optionsForChoices(const stRecvJobData& choices, std::int32_t timeout, const PanelJobFlags& flags);

} // namespace trigora
