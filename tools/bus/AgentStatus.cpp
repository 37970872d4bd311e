#include "tools/bus/AgentStatus.h"

#include "agent/event/StatusRequest.h"
#include "platform/Formats.h"
#include "platform/Platform.h"
#include "tools/bus/SessionBus.h"

namespace trigora::tools {

std::optional<Dictionary> statusOfAgent(const SessionBus& bus, std::string& error) {
    constexpr double answerSeconds = 5;
    const auto answer = bus.askAgent({platform::productEventClass, statusEventID, {}}, answerSeconds, error);
    const auto* text = answer ? answer->parameter(platform::keyDirectObject) : nullptr;
    const auto value =
        text ? platform::current().json.read(std::string(text->bytes.begin(), text->bytes.end()))
             : std::nullopt;
    if (!value || value->dictionary() == nullptr) {
        error = error.empty() ? unreadableAnswer : error;
        return std::nullopt;
    }
    return *value->dictionary();
}

} // namespace trigora::tools
