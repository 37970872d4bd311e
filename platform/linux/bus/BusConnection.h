#pragma once

#include "platform/linux/bus/Inbox.h"
#include "platform/linux/loop/LinuxRunLoop.h"
#include "platform/linux/loop/SystemdPointers.h"

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace trigora::platform {

/// This program on the session bus. It has two connections:
///
/// - the main one, attached to the loop: everything that comes in is handled there, on the main thread;
/// - the posting one, behind a lock: what goes out is sent by the thread that wants it sent, at once, so
///   that it does not depend on the loop turning.
///
/// Usual order: `open`, `onLost`, the objects that use the connection, `requestName`, the loop's `run`.
/// When the bus goes away, the handler of `onLost` is called once, in the loop; from then on sending fails
/// quietly. Made and destroyed on the main thread, within the life of the loop.
class BusConnection {
public:
    /// Connects to the bus of DBUS_SESSION_BUS_ADDRESS, or else of XDG_RUNTIME_DIR. Null when there is
    /// none; the error then says why in a sentence for the user.
    static std::unique_ptr<BusConnection> open(LinuxRunLoop& loop, std::string& error);

    BusConnection(const BusConnection&) = delete;
    BusConnection& operator=(const BusConnection&) = delete;
    ~BusConnection() = default;

    /// Takes a name on the bus for as long as the connection lives. False when another program owns it, or
    /// when it is not a proper name. Main thread only.
    bool requestName(const std::string& name);
    /// The handler runs in the loop when the bus has gone away. Main thread only.
    void onLost(std::function<void()> handler) { lostHandler_ = std::move(handler); }
    /// Any thread.
    bool isLost() const { return lost_; }

    /// Of equal notifications with these names that have arrived and wait to be handled, with no event
    /// between them, one is enough. Main thread only.
    void mergeEqualNotifications(std::set<std::string> names) { inbox_.mergeEqual(std::move(names)); }
    /// The descriptor that hangs up when the bus has gone; it stays the connection's.
    int descriptor() const { return sd_bus_get_fd(mainBus_.get()); }

    // For the classes that speak over the bus.

    LinuxRunLoop& loop() const { return loop_; }
    /// What arrives on the main connection goes through it. Main thread only.
    Inbox& inbox() { return inbox_; }

    /// The main connection. Main thread only.
    sd_bus* mainBus() const { return mainBus_.get(); }
    /// The unique name of the main connection. Any thread.
    const std::string& uniqueName() const { return uniqueName_; }
    /// Calls the function with the posting connection, then writes everything out. The function gives a
    /// negative number when it fails. True when all went out. Never waits for another program. Any thread.
    bool send(const std::function<int(sd_bus*)>& function);
    /// The unique name of who owns a name; none when nobody does. Any thread.
    std::optional<std::string> ownerOf(const std::string& name);
    /// The names that are owned on the bus. Any thread.
    std::vector<std::string> names();
    /// A further connection to the same bus, for a caller that has to wait for an answer; null when it
    /// cannot be had. Any thread.
    BusPointer connect() const;

private:
    BusConnection(LinuxRunLoop& loop, std::string address, BusPointer mainBus, std::string uniqueName);

    static int messageArrived(sd_bus_message* message, void* connection, sd_bus_error* error);

    /// The posting connection, made anew when the daemon has dropped it; null when the bus is gone.
    /// Called with the lock held.
    sd_bus* postingBus();

    LinuxRunLoop& loop_;
    const std::string address_;
    const std::string uniqueName_;
    std::function<void()> lostHandler_;
    std::atomic<bool> lost_ = false;

    std::mutex postingMutex_;
    BusPointer postingBus_; // guarded by postingMutex_

    BusPointer mainBus_;
    Inbox inbox_; // its pieces go before the connection
    BusSlotPointer filter_;
};

} // namespace trigora::platform
