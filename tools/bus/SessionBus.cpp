#include "tools/bus/SessionBus.h"

#include "platform/linux/bus/AppleEventMessage.h"
#include "platform/linux/bus/BusAccess.h"
#include "platform/linux/bus/BusNames.h"

#include <cstring>

namespace trigora::tools {

namespace {

using namespace platform;

// The agent answers once it has launched the scan assistant, which takes it some seconds.
constexpr std::uint64_t answerTimeOutMicroseconds = 60'000'000;

bool saysNobodyIsThere(const sd_bus_error& error) {
    return sd_bus_error_has_name(&error, SD_BUS_ERROR_SERVICE_UNKNOWN) != 0 ||
           sd_bus_error_has_name(&error, SD_BUS_ERROR_NAME_HAS_NO_OWNER) != 0;
}

} // namespace

std::optional<SessionBus> SessionBus::open(std::string& error) {
    BusPointer bus = bus::connectToSession(error);
    return bus ? std::optional(SessionBus(std::move(bus))) : std::nullopt;
}

SessionBus::Delivery SessionBus::sendToAgent(const AppleEvent& event, std::string& error) const {
    BusMessagePointer reply;
    return call(event, answerTimeOutMicroseconds, reply, error);
}

std::optional<AppleEvent> SessionBus::askAgent(const AppleEvent& event, double seconds,
                                               std::string& error) const {
    BusMessagePointer reply;
    if (call(event, static_cast<std::uint64_t>(seconds * 1e6), reply, error) != Delivery::handled) {
        return std::nullopt;
    }
    auto parameters = bus::readEventReply(reply.get());
    if (!parameters) {
        error = unreadableAnswer;
        return std::nullopt;
    }
    return AppleEvent{event.eventClass, event.eventID, std::move(*parameters)};
}

std::optional<std::int32_t> SessionBus::agentProcessID() const {
    sd_bus_creds* made = nullptr;
    pid_t processID = 0;
    const bool isKnown = sd_bus_get_name_creds(bus_.get(), bus::agentName, SD_BUS_CREDS_PID, &made) >= 0 &&
                         sd_bus_creds_get_pid(made, &processID) >= 0;
    sd_bus_creds_unref(made);
    return isKnown ? std::optional<std::int32_t>(processID) : std::nullopt;
}

std::string SessionBus::address() const {
    const char* address = nullptr;
    return sd_bus_get_address(bus_.get(), &address) >= 0 ? address : "";
}

SessionBus::Delivery SessionBus::call(const AppleEvent& event, std::uint64_t microseconds,
                                      BusMessagePointer& reply, std::string& error) const {
    const BusMessagePointer message = bus::eventCall(bus_.get(), bus::agentName, event);
    if (!message) {
        error = "the event could not be put into a message";
        return Delivery::refused;
    }
    sd_bus_error busError{};
    sd_bus_message* answer = nullptr;
    const int result = sd_bus_call(bus_.get(), message.get(), microseconds, &busError, &answer);
    reply.reset(answer);
    Delivery delivery = Delivery::handled;
    if (result < 0) {
        const bool missing = saysNobodyIsThere(busError);
        delivery = missing ? Delivery::agentMissing : Delivery::refused;
        error = missing ? agentMissingSentence
                        : std::string("the agent did not take the event: ") +
                              (busError.message != nullptr ? busError.message : std::strerror(-result));
    }
    sd_bus_error_free(&busError);
    return delivery;
}

} // namespace trigora::tools
