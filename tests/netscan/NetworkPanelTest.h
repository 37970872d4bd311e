#pragma once

#include "files/InstalledPaths.h"
#include "netscan/exchange/PanelJobExchange.h"
#include "netscan/settings/TgaNetworkSettingsManager.h"
#include "tests/netscan/ModuleTest.h"

namespace trigora::test {

/// A network scanner whose user does things at its panel, with every module installed.
class NetworkPanelTest : public ModuleTest {
protected:
    static constexpr std::int32_t newList = 110;

    NetworkPanelTest() {
        installPanelDriver();
        installJobInterface();
        setField(record.productID, "PID 0142");
        setField(record.ipAddress, "C0A80001");
        setField(record.hardwareAddress, "001A2b3C4d5E");
        record.protocolVersion = newList;
    }

    /// From now on the button manager serves scanners.
    void startButtonManager();
    /// Has the module report an event; gives the agent's answer.
    std::int32_t event(std::int32_t kind, void* data) {
        return eventCallback(nullptr, kind, data, 0, static_cast<PanelEventContext*>(manager.get()));
    }
    std::int32_t event(std::int32_t kind) { return event(kind, &record); }

    _PSMLPANELSCANJOBINFO record{};
    std::shared_ptr<TgaNetworkSettingsManager> manager =
        TgaNetworkSettingsManager::sharedNetworkSettingsManager();
};

} // namespace trigora::test
