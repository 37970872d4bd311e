#include "platform/linux/bus/BusConnection.h"

#include "platform/Guarded.h"
#include "platform/linux/bus/BusAccess.h"
#include "platform/linux/loop/LinuxClock.h"
#include "platform/linux/processes/SessionBusAddress.h"

#include <cerrno>
#include <cstdint>
#include <cstdlib>
#include <utility>

namespace trigora::platform {

namespace {

/// What is read off the posting connection at a time; nobody has business sending anything there.
constexpr int mostUnwanted = 1000;

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
    const std::uint64_t end = monotonicMicroseconds() + bus::daemonTimeOut;
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
    BusPointer bus = bus::connectToSession(error);
    if (!bus) {
        return nullptr;
    }
    if (const int result = sd_bus_attach_event(bus.get(), loop.event(), SD_EVENT_PRIORITY_NORMAL);
        result < 0) {
        error = bus::unreachableSentence(result);
        return nullptr;
    }
    const char* uniqueName = nullptr;
    sd_bus_get_unique_name(bus.get(), &uniqueName);
    return std::unique_ptr<BusConnection>(
        new BusConnection(loop, std::move(address), std::move(bus), uniqueName == nullptr ? "" : uniqueName));
}

BusConnection::BusConnection(LinuxRunLoop& loop, std::string address, BusPointer mainBus,
                             std::string uniqueName)
    : loop_(loop), address_(std::move(address)), uniqueName_(std::move(uniqueName)),
      mainBus_(std::move(mainBus)), inbox_(loop, mainBus_.get()) {
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
        bus::connect(address_, postingBus_);
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

std::vector<std::string> BusConnection::names() {
    std::vector<std::string> names;
    send([&](sd_bus* bus) {
        char** found = nullptr;
        const int result = sd_bus_list_names(bus, &found, nullptr);
        for (char** name = found; name != nullptr && *name != nullptr; ++name) {
            names.emplace_back(*name);
            std::free(*name);
        }
        std::free(found);
        return result;
    });
    return names;
}

BusPointer BusConnection::connect() const {
    BusPointer bus;
    if (!lost_) {
        bus::connect(address_, bus);
    }
    return bus;
}

} // namespace trigora::platform
