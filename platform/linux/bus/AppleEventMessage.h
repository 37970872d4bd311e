#pragma once

#include "platform/AppleEvents.h"
#include "platform/linux/loop/SystemdPointers.h"

#include <optional>
#include <string>
#include <vector>

/// Apple Events as messages of the bus: a method call carries class, ID and parameters, its answer the
/// reply's parameters. What is broken anywhere is rejected whole.
namespace trigora::platform::bus {

constexpr const char* eventSignature = "uua(uuay)";
constexpr const char* replySignature = "a(uuay)";

/// The call that carries the event to the owner of a name; null when it cannot be made.
BusMessagePointer eventCall(sd_bus* bus, const std::string& destination, const AppleEvent& event);
/// The event of such a call.
std::optional<AppleEvent> readEventCall(sd_bus_message* message);

/// Appends the parameters to an answer that is being made; negative when it cannot hold them.
int appendParameters(sd_bus_message* message, const std::vector<AppleEventParameter>& parameters);
/// The parameters of such an answer.
std::optional<std::vector<AppleEventParameter>> readEventReply(sd_bus_message* message);

} // namespace trigora::platform::bus
