#pragma once

#include "runners/actions/RunnerInputs.h"
#include "runners/actions/TgaActionRunner.h"

namespace trigora {

/// Has the scanning application opened: starts the scan assistant and tells it the scan settings to hand
/// over. A network project with a driver too old for it gets a message instead, after which the scan
/// assistant only has the scanner confirmed.
class TgaActionRunnerPeloxScan final : public TgaActionRunner,
                                       public ScanAssistantDataInput,
                                       public DriverVersionInput,
                                       public ProjectIDInput,
                                       public DriverNameInput,
                                       public IPAddressInput {
public:
    /// Always 0. The message is modal.
    std::int32_t performAction() override;

private:
    /// A missing version counts as 0.
    double driverVersionNumber() const;
    bool isDriverTooOldForProject() const;
    void warnOfOldDriver() const;
    void postScanSettings() const;
    /// None without scan assistant data.
    std::optional<Dictionary> scanSettingsUserInfo() const;
};

} // namespace trigora
