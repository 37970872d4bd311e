#pragma once

#include "platform/linux/loop/SystemdPointers.h"

#include <cstdint>
#include <string>

/// How a program gets onto the session bus.
namespace trigora::platform::bus {

/// The longest time that the daemon itself is waited for, in microseconds.
constexpr std::uint64_t daemonTimeOut = 5000000;

/// Connects and waits until the daemon has greeted; negative when that fails.
int connect(const std::string& address, BusPointer& connected);
/// A connection to the session bus. Null when there is none; the error then says why in a sentence for the
/// user.
BusPointer connectToSession(std::string& error);
/// That sentence, for a negative result of the bus library.
std::string unreachableSentence(int result);

} // namespace trigora::platform::bus
