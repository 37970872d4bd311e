#pragma once

#include <string>

namespace trigora::tools {

/// Whether a change reached the agent.
enum class AgentNotice {
    told,
    notRunning, ///< it reads the change when it starts
    noBus,      ///< this program is outside the session: an agent there keeps what it has read
};
/// Whether posts of this program reach an agent now.
AgentNotice agentNotice();
std::string noticeSentence(AgentNotice notice);

} // namespace trigora::tools
