#pragma once

#include "modules/panel_driver.h"
#include "netscan/panel/PanelJobList.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace trigora {

namespace platform {
class Bundle;
}

/// A list in the panel's own encoding; it belongs to the driver.
struct EncodedJobData {
    address32 data = 0;
    std::uint32_t length = 0; ///< bytes
};

/// The panel driver module. A function that it does not export fails. Any thread.
class PanelDriver {
public:
    /// Null, which is logged, when the module is not installed. Its code is loaded with the first function
    /// that is called.
    static std::shared_ptr<PanelDriver> create();

    /// The progress call-back is 0 where it can have no address below 4 GiB.
    PanelDriver(std::shared_ptr<platform::Bundle> module, address32 progressCallback)
        : module_(std::move(module)), progressCallback_(progressCallback) {}

    /// Whether connections can be opened at all: not without an address for the progress call-back.
    bool canOpen() const;
    /// What the user chose at the panel with that address; zeroed where the panel could not be locked or
    /// the driver filled in nothing, none when no connection could be opened.
    std::optional<stRecvJobData> choicesAt(const std::string& ipAddress) const;

    bool canEncode() const;
    /// A list without a connection; zeroed when the driver returns nothing. None when what it returns cannot
    /// be referred to by a record.
    std::optional<EncodedJobData> encode(const PanelJobList& list, std::int32_t protocolVersion) const;
    bool canDecode() const;
    /// The choices in encoded data; zeroed where the driver filled in nothing.
    stRecvJobData decode(address32 data, std::uint32_t length) const;

private:
    friend class PanelConnection;

    std::shared_ptr<platform::Bundle> module_;
    address32 progressCallback_;
};

/// A connection to a panel. It is unlocked and closed, as far as it came, when this goes. Drivers may look at
/// the records that they were handed until then, so that these live no shorter. One thread at a time, no
/// longer than the driver.
class PanelConnection {
public:
    explicit PanelConnection(const PanelDriver& driver) : driver_(driver) {}
    PanelConnection(const PanelConnection&) = delete;
    PanelConnection& operator=(const PanelConnection&) = delete;
    ~PanelConnection();

    bool open(const std::string& ipAddress);
    bool lock();
    /// Sends one list, in the form of the panel's protocol version; logs nothing.
    bool send(PanelJobList list, std::int32_t protocolVersion);
    /// What the user chose; zeroed where the driver filled in nothing.
    stRecvJobData receive();

    // When saved jobs are to be sent, two ways of ending differ, and drivers count on it. The placeholder and
    // the receiving of choices have neither.
    /// A panel that could not be locked is busy with somebody else: the driver gives the connection up by
    /// itself and takes no close.
    void leaveOpen() { isOpen_ = false; }
    /// Nothing was there to send: closing gives the lock up, too.
    void closeLocked() { isLocked_ = false; }

private:
    template <typename Function> Function* functionNamed(const char* name) const;

    const PanelDriver& driver_;
    PanelOpenBlock block_{};
    std::optional<PanelJobList> list_;
    stRecvJobData choices_{};
    std::uint32_t handle_ = 0;
    std::uint32_t context_ = 0; ///< the driver's own
    bool isOpen_ = false;
    bool isLocked_ = false;
};

} // namespace trigora
