#pragma once

#include "platform/AppleEvents.h"
#include "platform/linux/loop/SystemdPointers.h"

#include <optional>
#include <string>

namespace trigora::tools {

constexpr const char* agentMissingSentence = "the agent is not running";
constexpr const char* unreadableAnswer = "the agent's answer cannot be read";

/// A connection of the tool's own to the session bus, for talking to the agent by its name.
class SessionBus {
public:
    /// None when there is no bus; the error then says why.
    static std::optional<SessionBus> open(std::string& error);

    sd_bus* get() const { return bus_.get(); }

    enum class Delivery {
        handled,
        agentMissing, ///< nobody owns the agent's name
        refused,      ///< the agent has no handler, or it failed
    };
    /// Sends an event to the agent and waits until it has been handled; the error says more than the result.
    Delivery sendToAgent(const platform::AppleEvent& event, std::string& error) const;
    /// The same with the agent's answer; none when it did not handle the event within the seconds, or when
    /// the answer is broken.
    std::optional<platform::AppleEvent> askAgent(const platform::AppleEvent& event, double seconds,
                                                 std::string& error) const;
    /// None when nobody owns the agent's name.
    std::optional<std::int32_t> agentProcessID() const;
    std::string address() const;

private:
    Delivery call(const platform::AppleEvent& event, std::uint64_t microseconds,
                  platform::BusMessagePointer& reply, std::string& error) const;

    explicit SessionBus(platform::BusPointer bus) : bus_(std::move(bus)) {}

    platform::BusPointer bus_;
};

} // namespace trigora::tools
