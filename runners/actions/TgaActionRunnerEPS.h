#pragma once

#include "runners/actions/RunnerInputs.h"
#include "runners/actions/TgaActionRunner.h"

namespace trigora {

/// Opens the photo application for the scanner, with the driver's name as an argument.
class TgaActionRunnerEPS final : public TgaActionRunner, public ScanAssistantDataInput {
public:
    /// Waits for a running scan assistant to quit, without limit, before it starts anything. Always 0.
    std::int32_t performAction() override;

    std::int32_t performActionV4() const;
};

} // namespace trigora
