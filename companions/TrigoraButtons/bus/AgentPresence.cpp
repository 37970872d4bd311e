#include "companions/TrigoraButtons/bus/AgentPresence.h"

#include "platform/Guarded.h"
#include "platform/linux/bus/BusNames.h"

#include <string>
#include <utility>

namespace trigora::buttons {

AgentPresence::AgentPresence(platform::BusConnection& connection, std::function<void(bool)> changed)
    : changed_(std::move(changed)) {
    const std::string match = std::string("type='signal',sender='org.freedesktop.DBus',"
                                          "path='/org/freedesktop/DBus',interface='org.freedesktop.DBus',"
                                          "member='NameOwnerChanged',arg0='") +
                              platform::bus::agentName + "'";
    sd_bus_slot* slot = nullptr;
    ::sd_bus_add_match(connection.mainBus(), &slot, match.c_str(), ownerChanged, this);
    slot_.reset(slot);
}

int AgentPresence::ownerChanged(sd_bus_message* signal, void* presence, sd_bus_error*) {
    const char* name = nullptr;
    const char* before = nullptr;
    const char* after = nullptr;
    if (::sd_bus_message_read(signal, "sss", &name, &before, &after) > 0) {
        platform::guarded([&] { static_cast<AgentPresence*>(presence)->changed_(*after != '\0'); });
    }
    return 0;
}

} // namespace trigora::buttons
