#pragma once

#include "platform/linux/bus/BusConnection.h"

#include <functional>

namespace trigora::buttons {

/// Hears when the agent takes its name on the bus and when it goes.
class AgentPresence {
public:
    AgentPresence(platform::BusConnection& connection, std::function<void(bool isPresent)> changed);

private:
    static int ownerChanged(sd_bus_message* signal, void* presence, sd_bus_error* error);

    std::function<void(bool)> changed_;
    platform::BusSlotPointer slot_;
};

} // namespace trigora::buttons
