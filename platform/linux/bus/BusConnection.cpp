#include "platform/linux/bus/BusConnection.h"

#include "platform/Guarded.h"
#include "platform/linux/loop/LinuxClock.h"

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <system_error>
#include <utility>

namespace trigora::platform {

namespace {

/// The longest time that the daemon itself is waited for, in microseconds.
constexpr std::uint64_t daemonTimeOut = 5000000;
/// What is read off the posting connection at a time; nobody has business sending anything there.
constexpr int mostUnwanted = 1000;

std::string sessionBusAddress() {
    if (const char* address = std::getenv("DBUS_SESSION_BUS_ADDRESS"); address != nullptr && *address != 0) {
        return address;
    }
    const char* runtimeFolder = std::getenv("XDG_RUNTIME_DIR");
    return runtimeFolder != nullptr && *runtimeFolder != 0
               ? "unix:path=" + std::string(runtimeFolder) + "/bus"
               : std::string();
}

/// Connects and waits until the daemon has greeted; negative when that fails.
int connectTo(const std::string& address, BusPointer& connected) {
    sd_bus* bus = nullptr;
    if (const int result = sd_bus_new(&bus); result < 0) {
        return result;
    }
    BusPointer made(bus);
    int result = sd_bus_set_address(bus, address.c_str());
    if (result >= 0) {
        result = sd_bus_set_bus_client(bus, 1);
    }
    if (result >= 0) {
        // Nobody sends us descriptors, so nobody can use ours up.
        result = sd_bus_negotiate_fds(bus, 0);
    }
    if (result >= 0) {
        result = sd_bus_set_method_call_timeout(bus, daemonTimeOut);
    }
    if (result >= 0) {
        result = sd_bus_start(bus);
    }
    const char* uniqueName = nullptr;
    if (result >= 0) {
        result = sd_bus_get_unique_name(bus, &uniqueName);
    }
    if (result >= 0) {
        connected = std::move(made);
    }
    return result;
}

/// Reads and drops what came in; negative when the connection is gone.
int discardIncoming(sd_bus* bus) {
    int result = 1;
    for (int i = 0; result > 0 && i < mostUnwanted; ++i) {
        result = sd_bus_process(bus, nullptr);
    }
    return result;
}

/// Writes out what is queued. False when the connection is gone, or does not take it in time.
bool writeOut(sd_bus* bus) {
    const std::uint64_t end = monotonicMicroseconds() + daemonTimeOut;
    for (;;) {
        std::uint64_t queued = 0;
        if (sd_bus_get_n_queued_write(bus, &queued) < 0) {
            return false;
        }
        if (queued == 0) {
            return true;
        }
        const std::uint64_t now = monotonicMicroseconds();
        if (now >= end || sd_bus_wait(bus, end - now) < 0 || sd_bus_process(bus, nullptr) < 0) {
            return false;
        }
    }
}

} // namespace

std::unique_ptr<BusConnection> BusConnection::open(LinuxRunLoop& loop, std::string& error) {
    std::string address = sessionBusAddress();
    if (address.empty()) {
        error = "there is no session bus: DBUS_SESSION_BUS_ADDRESS is not set";
        return nullptr;
    }
    BusPointer bus;
    int result = connectTo(address, bus);
    if (result >= 0) {
        result = sd_bus_attach_event(bus.get(), loop.event(), SD_EVENT_PRIORITY_NORMAL);
    }
    if (result < 0) {
        error = "the session bus at " + address +
                " cannot be reached: " + std::generic_category().message(-result);
        return nullptr;
    }
    const char* uniqueName = nullptr;
    sd_bus_get_unique_name(bus.get(), &uniqueName);
    return std::unique_ptr<BusConnection>(
        new BusConnection(std::move(address), std::move(bus), uniqueName == nullptr ? "" : uniqueName));
}

BusConnection::BusConnection(std::string address, BusPointer mainBus, std::string uniqueName)
    : address_(std::move(address)), uniqueName_(std::move(uniqueName)), mainBus_(std::move(mainBus)) {
    sd_bus_slot* slot = nullptr;
    sd_bus_add_filter(mainBus_.get(), &slot, messageArrived, this);
    filter_.reset(slot);
}

bool BusConnection::requestName(const std::string& name) {
    const int result = sd_bus_request_name(mainBus_.get(), name.c_str(), 0);
    return result >= 0 || result == -EALREADY;
}

int BusConnection::messageArrived(sd_bus_message* message, void* connection, sd_bus_error*) {
    if (sd_bus_message_is_signal(message, "org.freedesktop.DBus.Local", "Disconnected") > 0) {
        auto& self = *static_cast<BusConnection*>(connection);
        self.lost_ = true;
        if (self.lostHandler_) {
            guarded(self.lostHandler_);
        }
    }
    return 0;
}

sd_bus* BusConnection::postingBus() {
    if (postingBus_ && discardIncoming(postingBus_.get()) < 0) {
        postingBus_.reset();
    }
    if (!postingBus_ && !lost_) {
        connectTo(address_, postingBus_);
    }
    return postingBus_.get();
}

bool BusConnection::send(const std::function<int(sd_bus*)>& function) {
    const std::lock_guard lock(postingMutex_);
    sd_bus* const bus = postingBus();
    if (bus == nullptr || function(bus) < 0) {
        return false;
    }
    if (!writeOut(bus)) {
        // What is left of a message that was cut off must not be followed by another.
        postingBus_.reset();
        return false;
    }
    return true;
}

std::optional<std::string> BusConnection::ownerOf(const std::string& name) {
    std::optional<std::string> owner;
    send([&](sd_bus* bus) {
        sd_bus_message* answer = nullptr;
        int result =
            sd_bus_call_method(bus, "org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                               "GetNameOwner", nullptr, &answer, "s", name.c_str());
        const BusMessagePointer owned(answer);
        const char* text = nullptr;
        if (result >= 0) {
            result = sd_bus_message_read(answer, "s", &text);
        }
        if (result >= 0) {
            owner = text;
        }
        return result;
    });
    return owner;
}

BusPointer BusConnection::connect() const {
    BusPointer bus;
    if (!lost_) {
        connectTo(address_, bus);
    }
    return bus;
}

} // namespace trigora::platform
