#include "platform/linux/bus/BusAccess.h"

#include "platform/linux/processes/SessionBusAddress.h"

#include <cerrno>
#include <system_error>
#include <utility>

namespace trigora::platform::bus {

int connect(const std::string& address, BusPointer& connected) {
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

BusPointer connectToSession(std::string& error) {
    const std::string address = sessionBusAddress();
    BusPointer bus;
    const int result = address.empty() ? -ENOENT : connect(address, bus);
    if (result < 0) {
        error = unreachableSentence(result);
    }
    return bus;
}

std::string unreachableSentence(int result) {
    const std::string address = sessionBusAddress();
    return address.empty() ? "there is no session bus: DBUS_SESSION_BUS_ADDRESS is not set"
                           : "the session bus at " + address +
                                 " cannot be reached: " + std::generic_category().message(-result);
}

} // namespace trigora::platform::bus
