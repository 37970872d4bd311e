#pragma once

#include "platform/AppleEvents.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

/// What the agent and its counterpart programs are called on the session bus.
namespace trigora::platform::bus {

constexpr const char* agentName = "com.pelox.TrigoraAgent";

constexpr const char* notificationsPath = "/com/pelox/Trigora/Notifications";
constexpr const char* notificationsInterface = "com.pelox.Trigora.Notifications";
constexpr const char* postedSignal = "Posted";
constexpr const char* postedSignature = "sba{sv}";

constexpr const char* appleEventsPath = "/com/pelox/AppleEvents";
constexpr const char* appleEventsInterface = "com.pelox.AppleEvents";
constexpr const char* sendMethod = "Send";
constexpr const char* notHandledError = "com.pelox.AppleEvents.Error.NotHandled";

/// The name of a program that takes events by its signature: "com.pelox.signature.x" and the code's eight
/// hexadecimal digits in lower case.
std::string signatureName(std::uint32_t signature);
/// The name of a program that takes events as a process: "com.pelox.process.p" and its process ID.
std::string processName(std::int32_t processID);
/// The process ID in such a name; none in other names.
std::optional<std::int32_t> processIDIn(std::string_view name);
std::string nameOf(const AppleEventTarget& target);

} // namespace trigora::platform::bus
