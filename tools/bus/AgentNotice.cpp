#include "tools/bus/AgentNotice.h"

#include "tools/bus/SessionBus.h"

namespace trigora::tools {

AgentNotice agentNotice() {
    std::string error;
    const std::optional<SessionBus> bus = SessionBus::open(error);
    if (!bus) {
        return AgentNotice::noBus;
    }
    return bus->agentProcessID() ? AgentNotice::told : AgentNotice::notRunning;
}

std::string noticeSentence(AgentNotice notice) {
    switch (notice) {
    case AgentNotice::told:
        return "The agent was told.";
    case AgentNotice::notRunning:
        return "The agent is not running; it reads this when it starts.";
    case AgentNotice::noBus:
        break;
    }
    return "There is no session bus, so no agent was told; one that is running keeps what it has read.";
}

} // namespace trigora::tools
