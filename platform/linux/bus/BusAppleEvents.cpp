#include "platform/linux/bus/BusAppleEvents.h"

#include "platform/Guarded.h"
#include "platform/linux/bus/AppleEventMessage.h"
#include "platform/linux/bus/BusNames.h"
#include "platform/linux/files/FileDescriptor.h"
#include "platform/linux/processes/ProcessStatus.h"

#include <poll.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <string_view>
#include <vector>

namespace trigora::platform {

namespace {

using std::chrono::milliseconds;
using std::chrono::steady_clock;

/// How often a launched process is looked for.
constexpr milliseconds lookingInterval(20);

std::int32_t statusOf(const sd_bus_error& error) {
    static constexpr std::pair<std::string_view, std::int32_t> statuses[] = {
        {SD_BUS_ERROR_SERVICE_UNKNOWN, procNotFound},
        {SD_BUS_ERROR_NAME_HAS_NO_OWNER, procNotFound},
        {SD_BUS_ERROR_DISCONNECTED, procNotFound},
        {SD_BUS_ERROR_NO_REPLY, errAETimeout},
        {SD_BUS_ERROR_TIMEOUT, errAETimeout},
        {SD_BUS_ERROR_INVALID_ARGS, errAECoercionFail},
        {SD_BUS_ERROR_INVALID_SIGNATURE, errAECoercionFail},
    };
    for (const auto& [name, status] : statuses) {
        if (error.name != nullptr && name == error.name) {
            return status;
        }
    }
    return errAEEventNotHandled;
}

/// Sends without wanting an answer to the owner of a unique name.
std::int32_t sendTo(BusConnection& connection, const std::string& owner, const AppleEvent& event) {
    const bool sent = connection.send([&](sd_bus* bus) {
        const BusMessagePointer message = bus::eventCall(bus, owner, event);
        if (!message) {
            return -ENOMEM;
        }
        sd_bus_message_set_expect_reply(message.get(), 0);
        return sd_bus_send(bus, message.get(), nullptr);
    });
    return sent ? 0 : procNotFound;
}

/// A handle on a process that cannot come to mean another one.
class ProcessHandle {
public:
    // By number: the library's own declaration has no C linkage everywhere.
    explicit ProcessHandle(std::int32_t processID)
        : descriptor_(static_cast<int>(syscall(SYS_pidfd_open, processID, 0))) {}

    /// Waits so long for the process to end; true also when there is none.
    bool endsWithin(milliseconds time) const {
        pollfd waited{descriptor_.get(), POLLIN, 0};
        return !descriptor_ || poll(&waited, 1, static_cast<int>(time.count())) > 0;
    }

private:
    FileDescriptor descriptor_;
};

} // namespace

BusAppleEvents::BusAppleEvents(BusConnection& connection, milliseconds timeOut)
    : connection_(connection), timeOut_(timeOut), mainThread_(std::this_thread::get_id()),
      waitingEvents_(std::make_shared<WaitingEvents>(
          connection, timeOut, [&connection](const std::string& owner, const AppleEvent& event) {
              return sendTo(connection, owner, event);
          })) {
    static const sd_bus_vtable methods[] = {
        SD_BUS_VTABLE_START(0),
        SD_BUS_METHOD(bus::sendMethod, bus::eventSignature, bus::replySignature, sendCalled,
                      SD_BUS_VTABLE_UNPRIVILEGED),
        SD_BUS_VTABLE_END,
    };
    sd_bus_slot* slot = nullptr;
    sd_bus_add_object_vtable(connection.mainBus(), &slot, bus::appleEventsPath, bus::appleEventsInterface,
                             methods, this);
    object_.reset(slot);
}

BusAppleEvents::~BusAppleEvents() = default;

void BusAppleEvents::setEventHandler(std::uint32_t eventClass, std::uint32_t eventID, Handler handler) {
    handlers_[{eventClass, eventID}] = std::move(handler);
}

void BusAppleEvents::removeEventHandler(std::uint32_t eventClass, std::uint32_t eventID) {
    handlers_.erase({eventClass, eventID});
}

std::int32_t BusAppleEvents::sendWithoutReply(const AppleEventTarget& target, const AppleEvent& event) {
    const auto* process = std::get_if<ProcessTarget>(&target);
    if (process != nullptr && process->processID != getpid()) {
        return waitingEvents_->send(process->processID, event);
    }
    const std::optional<std::string> owner =
        process != nullptr ? connection_.uniqueName() : connection_.ownerOf(bus::nameOf(target));
    return owner ? sendTo(connection_, *owner, event) : procNotFound;
}

AppleEventReply BusAppleEvents::sendUnlessGivenUp(const AppleEventTarget& target, const AppleEvent& event,
                                                  const std::function<bool()>& givesUp) {
    AppleEventReply reply;
    const std::optional<std::string> owner = find(target);
    if (const auto* process = std::get_if<ProcessTarget>(&target)) {
        waitingEvents_->sendWaiting(process->processID); // what was sent before arrives before
    }
    if (owner == connection_.uniqueName() && std::this_thread::get_id() == mainThread_) {
        reply.status = handle(event, reply.event) ? 0 : errAEEventNotHandled;
        return reply;
    }
    // Messages go before their connection.
    const BusPointer bus = owner ? connection_.connect() : nullptr;
    const BusMessagePointer message = bus ? bus::eventCall(bus.get(), *owner, event) : nullptr;
    if (!message) {
        reply.status = procNotFound;
        return reply;
    }
    const BusMessagePointer answer = waitForAnswer(bus.get(), message.get(), givesUp);
    if (!answer) {
        reply.status = errAETimeout;
    } else if (const sd_bus_error* error = sd_bus_message_get_error(answer.get())) {
        reply.status = statusOf(*error);
    } else if (auto parameters = bus::readEventReply(answer.get())) {
        reply.event.parameters = std::move(*parameters);
    } else {
        reply.status = errAECoercionFail;
    }
    return reply;
}

BusMessagePointer BusAppleEvents::waitForAnswer(sd_bus* bus, sd_bus_message* call,
                                                const std::function<bool()>& givesUp) const {
    constexpr std::uint64_t givingUpInterval = 250000; // microseconds
    BusMessagePointer answer;
    const auto answered = [](sd_bus_message* message, void* itsAnswer, sd_bus_error*) {
        static_cast<BusMessagePointer*>(itsAnswer)->reset(sd_bus_message_ref(message));
        return 0;
    };
    const auto timeOut = std::chrono::duration_cast<std::chrono::microseconds>(timeOut_).count();
    int result =
        sd_bus_call_async(bus, nullptr, call, answered, &answer, static_cast<std::uint64_t>(timeOut));
    const auto isGivenUp = [&] { return connection_.loop().isEnding() || (givesUp && givesUp()); };
    while (result >= 0 && !answer && !isGivenUp()) {
        result = sd_bus_process(bus, nullptr);
        if (result == 0) {
            result = sd_bus_wait(bus, givingUpInterval);
        }
    }
    return answer;
}

int BusAppleEvents::sendCalled(sd_bus_message* message, void* appleEvents, sd_bus_error*) {
    auto& self = *static_cast<BusAppleEvents*>(appleEvents);
    const std::shared_ptr<sd_bus_message> call(sd_bus_message_ref(message), sd_bus_message_unref);
    const bool isTaken = guarded([&] {
        self.connection_.inbox().add([life = std::weak_ptr(self.waitingEvents_), &self, call] {
            if (!life.expired()) {
                self.takeCall(call.get());
            }
        });
    });
    return isTaken ? 1 : -ENOMEM;
}

void BusAppleEvents::takeCall(sd_bus_message* message) const {
    int result = -ENOMEM;
    guarded([&] { result = answerCall(message); });
    if (result < 0) {
        sd_bus_reply_method_errno(message, result, nullptr);
    }
}

int BusAppleEvents::answerCall(sd_bus_message* message) const {
    const std::optional<AppleEvent> event = bus::readEventCall(message);
    if (!event) {
        return -EBADMSG;
    }
    AppleEvent reply;
    if (!handle(*event, reply)) {
        return sd_bus_reply_method_errorf(message, bus::notHandledError, "No handler takes this event");
    }
    sd_bus_message* made = nullptr;
    int result = sd_bus_message_new_method_return(message, &made);
    const BusMessagePointer answer(made);
    if (result >= 0) {
        result = bus::appendParameters(made, reply.parameters);
    }
    return result < 0 ? result : sd_bus_send(nullptr, made, nullptr);
}

bool BusAppleEvents::handle(const AppleEvent& event, AppleEvent& reply) const {
    const auto found = handlers_.find({event.eventClass, event.eventID});
    if (found == handlers_.end()) {
        return false;
    }
    const Handler handler = found->second;
    return guarded([&] { handler(event, reply); });
}

bool BusAppleEvents::isPresent(const AppleEventTarget& target) {
    return connection_.ownerOf(bus::nameOf(target)).has_value();
}

std::optional<std::string> BusAppleEvents::find(const AppleEventTarget& target) {
    const auto* process = std::get_if<ProcessTarget>(&target);
    if (process != nullptr && process->processID == getpid()) {
        return connection_.uniqueName();
    }
    std::optional<std::string> owner = connection_.ownerOf(bus::nameOf(target));
    return owner || process == nullptr ? owner : findOnceLaunched(process->processID);
}

std::optional<std::string> BusAppleEvents::findOnceLaunched(std::int32_t processID) {
    const ProcessHandle process(processID);
    const std::optional<milliseconds> age = ageOfProcess(processID);
    if (!age) {
        return std::nullopt;
    }
    const std::string name = bus::processName(processID);
    const auto end = steady_clock::now() + (timeOut_ - *age);
    std::optional<std::string> owner;
    while (!owner && steady_clock::now() < end && !connection_.loop().isEnding() &&
           !process.endsWithin(lookingInterval)) {
        owner = connection_.ownerOf(name);
    }
    return owner;
}

} // namespace trigora::platform
