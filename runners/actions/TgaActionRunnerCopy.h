#pragma once

#include "runners/actions/RunnerInputs.h"
#include "runners/actions/TgaActionRunner.h"

namespace trigora {

/// Opens the copy application for the scanner. Version 4 and later takes the driver's name as an argument;
/// earlier ones, and whatever "NextAssistantPath" of the scan assistant data names when the application is
/// not installed, take it in Apple Events.
class TgaActionRunnerCopy final : public TgaActionRunner, public ScanAssistantDataInput {
public:
    /// Waits for a running scan assistant to quit, without limit, before it starts anything. 0, or the
    /// platform's error of the step that failed.
    std::int32_t performAction() override;

    /// For the versions before 4.
    std::int32_t performActionV3() const;
    /// For version 4 and later; always 0.
    std::int32_t performActionV4() const;
};

} // namespace trigora
