#pragma once

#include "runners/actions/RunnerInputs.h"
#include "runners/actions/TgaActionRunner.h"

namespace trigora {

/// Launches the assistant named by "NextAssistantPath" of the scan assistant data and sends it the launch
/// record (`LaunchRecord`) in an Apple Event 'appl'/'unon'. A networked scanner is confirmed on the way.
class TgaActionRunnerPageManager final : public TgaActionRunner,
                                         public ScanAssistantDataInput,
                                         public EventManagerDataInput,
                                         public DriverNameInput,
                                         public IPAddressInput {
public:
    /// 0, or the platform's error of the step that failed; the steps after it are left out.
    std::int32_t performAction() override;

private:
    /// Has the scan assistant started and told that the scanner is confirmed.
    void ARPM_LaunchScanAssistant() const;
};

} // namespace trigora
