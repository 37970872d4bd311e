#pragma once

#include "platform/Value.h"
#include "platform/linux/loop/SystemdPointers.h"

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

namespace trigora::bench {

using Clock = std::chrono::steady_clock;

/// Takes part in the session bus as scanner driver and scan assistant at once, with the bus library alone,
/// so that little of what is measured is its own. Every failure, and an answer that takes longer than ten
/// seconds, throws.
class BusPeer {
public:
    /// Hears the notifications of these names from now on.
    explicit BusPeer(const std::vector<std::string>& heardNames);

    bool isOnBus(const std::string& name);
    /// Calls the echo of the stand-in and waits for its answer: a bare round trip.
    void callEcho(const Data& payload);
    /// Sends a scan-button record to the agent. `waitForHandled` waits until the agent has handled it.
    void press(const Data& record);
    void waitForHandled();
    void post(const std::string& name, const Dictionary& userInfo);
    /// Waits for the next notification of the name and returns the time of its arrival.
    Clock::time_point waitFor(const std::string& name);

private:
    static int heard(sd_bus_message* message, void* peer, sd_bus_error* error);
    static int answered(sd_bus_message* message, void* peer, sd_bus_error* error);
    /// Lets the bus work until the condition holds.
    template <typename Condition> void work(const Condition& condition);

    platform::BusPointer bus_;
    std::string lastHeard_;
    Clock::time_point lastHeardAt_;
    int unanswered_ = 0;
};

} // namespace trigora::bench
