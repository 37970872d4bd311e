#pragma once

#include "modules/usb_scan.h"
#include "netscan/panel/PanelEventContext.h"
#include "platform/AppleEvents.h"
#include "platform/Platform.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <string>

namespace trigora {

namespace platform {
class Bundle;
}
class PanelDriver;
class SVJobInterface;

/// Serves the panel of a USB scanner: when one announces itself by an Apple Event, the USB push-scan module
/// is loaded and started, and calls back with what the user does at the panel.
///
/// Main thread only, except for the call-back and what it reaches, which run on the module's threads.
class TgaUsbSettingsManager : public PanelJobFlags {
public:
    static std::shared_ptr<TgaUsbSettingsManager> sharedUsbSettingsManager() {
        return platform::shared<TgaUsbSettingsManager>();
    }

    TgaUsbSettingsManager() = default;
    ~TgaUsbSettingsManager();
    TgaUsbSettingsManager(const TgaUsbSettingsManager&) = delete;
    TgaUsbSettingsManager& operator=(const TgaUsbSettingsManager&) = delete;

    /// Has the announcements of USB scanners handled ('PLsc'/'UbPo').
    void registerEvent();
    /// Keeps the scanner's product ID (parameter 'UsId', a little-endian integer of 1, 2, 4 or 8 bytes, of
    /// whatever type) and starts. Without a number that is a product ID nothing happens.
    void handleScanEvent(const platform::AppleEvent& event, platform::AppleEvent& replyEvent);
    /// Loads the module, once, and has it watch the scanner's panel.
    void start();

    /// USB product ID of the scanner. Any thread.
    std::uint32_t pid() const { return pid_; }
    void setPid(std::uint32_t pid) { pid_ = pid; }

    /// The saved jobs for a scanner; null when there are none.
    static std::shared_ptr<SVJobInterface> JobIF(const std::string& productID);
    /// Encodes the jobs for the panel and writes where they are into the record. False when the encoded
    /// data lies where a record cannot refer to it.
    static bool DoJobList(const SVJobInterface& jobInterface, UsbPanelScanJobInfo& record,
                          const PanelDriver& panelDriver, PanelJobFlags& manager);
    /// Starts a job, or sends it a command. False when it is refused, when the record's data cannot be read,
    /// or when the application is busy, which sets the flag.
    static bool DoJobStart(const SVJobInterface& jobInterface, const UsbPanelScanJobInfo& record,
                           const PanelDriver& panelDriver, const PanelJobFlags& manager, bool& isBusy);

private:
    std::shared_ptr<platform::Bundle> bundleRef_UsbScan;
    bool isRegistered_ = false;
    std::atomic<std::uint32_t> pid_ = 0;
};

/// The call-back handed to the module, with the manager (as its `PanelJobFlags`) as its context: 1 done, 8
/// failed, 9 busy.
extern "C" std::int32_t UsbEventCallbackProc(void* reserved, std::int32_t kind, UsbPanelScanJobInfo* record,
                                             std::int32_t reserved2, void* context);

} // namespace trigora
