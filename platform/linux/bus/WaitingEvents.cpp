#include "platform/linux/bus/WaitingEvents.h"

#include "platform/linux/bus/BusNames.h"
#include "platform/linux/processes/ProcessStatus.h"

#include <utility>

namespace trigora::platform {

WaitingEvents::WaitingEvents(BusConnection& connection, std::chrono::milliseconds timeOut, Send send)
    : connection_(connection), timeOut_(timeOut), send_(std::move(send)) {}

std::int32_t WaitingEvents::send(std::int32_t processID, const AppleEvent& event) {
    const std::lock_guard lock(mutex_);
    if (const auto waiting = events_.find(processID); waiting != events_.end()) {
        waiting->second.push_back(event);
        return 0;
    }
    if (const auto owner = connection_.ownerOf(bus::processName(processID))) {
        return send_(*owner, event);
    }
    const auto age = ageOfProcess(processID);
    if (!age || *age >= timeOut_) {
        return procNotFound;
    }
    events_[processID] = {event};
    connection_.loop().performOnMainThread([self = weak_from_this(), processID, time = timeOut_ - *age] {
        if (const auto events = self.lock()) {
            events->watch(processID, time);
        }
    });
    return 0;
}

void WaitingEvents::sendWaiting(std::int32_t processID) {
    const std::lock_guard lock(mutex_);
    const auto waiting = events_.find(processID);
    const std::string name = bus::processName(processID);
    const auto owner = waiting == events_.end() ? std::nullopt : connection_.ownerOf(name);
    if (!owner) {
        return;
    }
    for (const AppleEvent& event : waiting->second) {
        send_(*owner, event);
    }
    events_.erase(waiting);
    connection_.ownerOf(name); // answered once the daemon has read all that was sent before
}

void WaitingEvents::watch(std::int32_t processID, std::chrono::milliseconds time) {
    auto made = std::make_unique<Watch>();
    made->events = weak_from_this();
    made->processID = processID;
    made->timer = connection_.loop().addRepeatingTimer(std::chrono::duration<double>(time).count(),
                                                       guardedCall(&WaitingEvents::drop, processID));
    connection_.loop().whenProcessExits(processID, guardedCall(&WaitingEvents::drop, processID));
    const std::string rule =
        "type='signal',sender='org.freedesktop.DBus',interface='org.freedesktop.DBus',member="
        "'NameOwnerChanged',arg0='" +
        bus::processName(processID) + "'";
    sd_bus_slot* slot = nullptr;
    sd_bus_add_match(connection_.mainBus(), &slot, rule.c_str(), nameAppeared, made.get());
    made->slot.reset(slot);
    watches_[processID] = std::move(made);
    sendWaitingAndForget(processID); // it may have taken the name before
}

int WaitingEvents::nameAppeared(sd_bus_message*, void* watch, sd_bus_error*) {
    const auto* self = static_cast<Watch*>(watch);
    if (const auto events = self->events.lock()) {
        events->connection_.loop().performOnMainThread(
            events->guardedCall(&WaitingEvents::sendWaitingAndForget, self->processID));
    }
    return 0;
}

void WaitingEvents::sendWaitingAndForget(std::int32_t processID) {
    sendWaiting(processID);
    bool isWaiting = false;
    {
        const std::lock_guard lock(mutex_);
        isWaiting = events_.contains(processID);
    }
    if (!isWaiting) {
        drop(processID);
    }
}

void WaitingEvents::drop(std::int32_t processID) {
    if (const auto found = watches_.find(processID); found != watches_.end()) {
        connection_.loop().cancelTimer(found->second->timer);
        watches_.erase(found);
    }
    const std::lock_guard lock(mutex_);
    events_.erase(processID);
}

std::function<void()> WaitingEvents::guardedCall(void (WaitingEvents::*function)(std::int32_t),
                                                 std::int32_t processID) {
    return [self = weak_from_this(), function, processID] {
        if (const auto events = self.lock()) {
            ((*events).*function)(processID);
        }
    };
}

} // namespace trigora::platform
