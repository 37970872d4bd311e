#pragma once

#include "platform/AppleEvents.h"
#include "platform/linux/bus/BusConnection.h"

#include <chrono>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

namespace trigora::platform {

/// Events without reply for processes, also for those that were launched a moment ago and are not on the bus
/// yet: what is for one of these waits here, in its order, and is sent when the process takes its name. It is
/// dropped when the process ends without having done so, or is as old as the time-out.
///
/// Made on the main thread, within the life of the connection.
class WaitingEvents : public std::enable_shared_from_this<WaitingEvents> {
public:
    /// Sends an event to the owner of a unique name; 0, or an error of Apple Events.
    using Send = std::function<std::int32_t(const std::string& owner, const AppleEvent& event)>;

    WaitingEvents(BusConnection& connection, std::chrono::milliseconds timeOut, Send send);

    /// 0 also when the event waits. Any thread.
    std::int32_t send(std::int32_t processID, const AppleEvent& event);
    /// Sends what waits for a process that is on the bus now; the daemon has it when this returns. Any
    /// thread.
    void sendWaiting(std::int32_t processID);

private:
    /// What tells of a process that is waited for. Main thread only.
    struct Watch {
        std::weak_ptr<WaitingEvents> events;
        std::int32_t processID = 0;
        RunLoop::TimerID timer = 0;
        BusSlotPointer slot;
    };

    static int nameAppeared(sd_bus_message* message, void* watch, sd_bus_error* error);

    void watch(std::int32_t processID, std::chrono::milliseconds time);
    void drop(std::int32_t processID);
    /// Calls the function if this still lives then.
    std::function<void()> guardedCall(void (WaitingEvents::*function)(std::int32_t), std::int32_t processID);
    void sendWaitingAndForget(std::int32_t processID);

    BusConnection& connection_;
    const std::chrono::milliseconds timeOut_;
    const Send send_;
    std::map<std::int32_t, std::unique_ptr<Watch>> watches_; // main thread only
    std::mutex mutex_;
    std::map<std::int32_t, std::vector<AppleEvent>> events_; ///< guarded by mutex_
};

} // namespace trigora::platform
