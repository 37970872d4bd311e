#pragma once

#include "platform/AppleEvents.h"
#include "platform/linux/bus/BusConnection.h"
#include "platform/linux/bus/WaitingEvents.h"

#include <chrono>
#include <map>
#include <thread>
#include <utility>

namespace trigora::platform {

/// Apple Events as method calls on the session bus. Events for this program arrive on the main connection;
/// an event that nobody handles is answered with an error.
///
/// Made and destroyed on the main thread, within the life of the connection; handlers are set and removed
/// there, too.
class BusAppleEvents final : public AppleEvents {
public:
    static constexpr std::chrono::milliseconds defaultTimeOut = std::chrono::seconds(60);

    explicit BusAppleEvents(BusConnection& connection, std::chrono::milliseconds timeOut = defaultTimeOut);
    BusAppleEvents(const BusAppleEvents&) = delete;
    BusAppleEvents& operator=(const BusAppleEvents&) = delete;
    ~BusAppleEvents() override;

    void setEventHandler(std::uint32_t eventClass, std::uint32_t eventID, Handler handler) override;
    void removeEventHandler(std::uint32_t eventClass, std::uint32_t eventID) override;
    /// 0 means that the target was on the bus and the event was handed to the bus whole, or that it waits for
    /// the process.
    std::int32_t sendWithoutReply(const AppleEventTarget& target, const AppleEvent& event) override;
    /// An event that the main thread sends to this very program is handled inside the call.
    AppleEventReply sendWaitingForReply(const AppleEventTarget& target, const AppleEvent& event) override {
        return sendUnlessGivenUp(target, event, {});
    }
    AppleEventReply sendUnlessGivenUp(const AppleEventTarget& target, const AppleEvent& event,
                                      const std::function<bool()>& givesUp) override;
    bool isPresent(const AppleEventTarget& target) override;

private:
    static int sendCalled(sd_bus_message* message, void* appleEvents, sd_bus_error* error);

    /// Handles a call whose turn has come, and answers it.
    void takeCall(sd_bus_message* message) const;
    /// Negative when it could not be answered.
    int answerCall(sd_bus_message* message) const;
    /// False when there is no handler, or when it failed.
    bool handle(const AppleEvent& event, AppleEvent& reply) const;
    /// The answer or error to a call; null when the program ends or the caller gives up before there is one.
    BusMessagePointer waitForAnswer(sd_bus* bus, sd_bus_message* call,
                                    const std::function<bool()>& givesUp) const;
    /// The unique name of the target, none when it is not on the bus. A process is waited for until it is as
    /// old as the time-out, or has ended.
    std::optional<std::string> find(const AppleEventTarget& target);
    std::optional<std::string> findOnceLaunched(std::int32_t processID);

    BusConnection& connection_;
    const std::chrono::milliseconds timeOut_;
    const std::thread::id mainThread_;
    const std::shared_ptr<WaitingEvents> waitingEvents_;
    BusSlotPointer object_;
    std::map<std::pair<std::uint32_t, std::uint32_t>, Handler> handlers_;
};

} // namespace trigora::platform
