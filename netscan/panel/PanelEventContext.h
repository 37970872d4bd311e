#pragma once

#include "platform/Value.h"

#include <atomic>
#include <memory>
#include <optional>
#include <string>

namespace trigora {

/// What a panel said of itself when it was sent its list of jobs; the jobs picked from that list go by it.
/// Any thread.
class PanelJobFlags {
public:
    /// Whether the job in progress supports recovery after an error.
    bool isErrorRecoveryAvailable() const { return _isErrorRecoveryAvailable; }
    void setIsErrorRecoveryAvailable(bool isAvailable) { _isErrorRecoveryAvailable = isAvailable; }
    /// Whether the job in progress may continue with a further page.
    bool isConituneScanningAvailable() const { return _isConituneScanningAvailable; }
    void setIsConituneScanningAvailable(bool isAvailable) { _isConituneScanningAvailable = isAvailable; }

private:
    std::atomic<bool> _isConituneScanningAvailable = false;
    std::atomic<bool> _isErrorRecoveryAvailable = false;
};

/// What the handling of panel events needs of the network settings. Any thread. Work that waits for the main
/// thread does not keep it alive.
class PanelEventContext : public PanelJobFlags, public std::enable_shared_from_this<PanelEventContext> {
public:
    /// The driver that serves the scanner with a product ID, as far as it is known.
    virtual std::optional<std::string> dsNameWithScopeList(const std::string& productID) const = 0;
    /// Has the scan assistant confirm the scanner. Main thread only.
    virtual void processNetworkScanEvent(const Dictionary& event) = 0;

protected:
    ~PanelEventContext() = default;
};

} // namespace trigora
