#pragma once

#include "modules/panel_driver.h"
#include "netscan/PanelJobList.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace trigora {

namespace platform {
class Bundle;
}

/// A connection to a panel. One thread at a time.
struct PanelConnection {
    std::uint32_t handle = 0;
    std::uint32_t context = 0; ///< the driver's own
};

/// A list in the panel's own encoding; it belongs to the driver.
struct EncodedJobData {
    address32 data = 0;
    std::uint32_t length = 0; ///< bytes
};

/// The panel driver module. A function that it does not export fails. Any thread.
class PanelDriver {
public:
    /// Null when the module is not installed. Its code is loaded with the first function that is called.
    static std::shared_ptr<PanelDriver> create();

    /// The progress call-back is 0 where it can have no address below 4 GiB.
    PanelDriver(std::shared_ptr<platform::Bundle> module, address32 progressCallback)
        : module_(std::move(module)), progressCallback_(progressCallback) {}

    /// Whether connections can be opened at all: not without an address for the progress call-back.
    bool canOpen() const;
    bool open(const std::string& ipAddress, PanelConnection& connection) const;
    bool lock(PanelConnection& connection) const;
    void unlock(PanelConnection& connection) const;
    void close(PanelConnection& connection) const;
    /// In the form of the panel's protocol version; logs nothing.
    bool send(PanelConnection& connection, const PanelJobList& list, std::int32_t protocolVersion) const;
    /// What the user chose at the panel with that address; zeroed where the panel could not be locked or
    /// the driver filled in nothing, none when no connection could be opened.
    std::optional<stRecvJobData> choicesAt(const std::string& ipAddress) const;

    bool canEncode() const;
    /// A list without a connection; zeroed when the driver gives nothing. None when what it gives cannot be
    /// referred to by a record.
    std::optional<EncodedJobData> encode(const PanelJobList& list, std::int32_t protocolVersion) const;
    bool canDecode() const;
    /// The choices in encoded data; zeroed where the driver filled in nothing.
    stRecvJobData decode(address32 data, std::uint32_t length) const;

private:
    std::shared_ptr<platform::Bundle> module_;
    address32 progressCallback_;
};

} // namespace trigora
