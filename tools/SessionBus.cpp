#include "tools/SessionBus.h"

#include "platform/linux/bus/BusNames.h"

#include <cstring>

namespace trigora::tools {

namespace {

using namespace platform;

// The agent answers once it has launched the scan assistant, which takes it some seconds.
constexpr std::uint64_t answerTimeOutMicroseconds = 60'000'000;

BusMessagePointer eventMessage(sd_bus* bus, const AppleEvent& event) {
    sd_bus_message* made = nullptr;
    int result = sd_bus_message_new_method_call(bus, &made, bus::agentName, bus::appleEventsPath,
                                                bus::appleEventsInterface, bus::sendMethod);
    BusMessagePointer message(made);
    if (result >= 0) {
        result = sd_bus_message_append(made, "uu", event.eventClass, event.eventID);
    }
    if (result >= 0) {
        result = sd_bus_message_open_container(made, SD_BUS_TYPE_ARRAY, "(uuay)");
    }
    for (const AppleEventParameter& parameter : event.parameters) {
        if (result >= 0) {
            result = sd_bus_message_open_container(made, SD_BUS_TYPE_STRUCT, "uuay");
        }
        if (result >= 0) {
            result = sd_bus_message_append(made, "uu", parameter.keyword, parameter.type);
        }
        if (result >= 0) {
            result = sd_bus_message_append_array(made, SD_BUS_TYPE_BYTE, parameter.bytes.data(),
                                                 parameter.bytes.size());
        }
        if (result >= 0) {
            result = sd_bus_message_close_container(made);
        }
    }
    if (result >= 0) {
        result = sd_bus_message_close_container(made);
    }
    return result >= 0 ? std::move(message) : nullptr;
}

bool saysNobodyIsThere(const sd_bus_error& error) {
    return sd_bus_error_has_name(&error, SD_BUS_ERROR_SERVICE_UNKNOWN) != 0 ||
           sd_bus_error_has_name(&error, SD_BUS_ERROR_NAME_HAS_NO_OWNER) != 0;
}

} // namespace

std::optional<SessionBus> SessionBus::open(std::string& error) {
    sd_bus* opened = nullptr;
    const int result = sd_bus_open_user(&opened);
    if (result < 0) {
        error = std::string("the session bus cannot be reached: ") + std::strerror(-result);
        return std::nullopt;
    }
    return SessionBus(BusPointer(opened));
}

SessionBus::Delivery SessionBus::sendToAgent(const AppleEvent& event, std::string& error) const {
    const BusMessagePointer message = eventMessage(bus_.get(), event);
    if (!message) {
        error = "the event could not be put into a message";
        return Delivery::refused;
    }
    sd_bus_error busError{};
    const int result = sd_bus_call(bus_.get(), message.get(), answerTimeOutMicroseconds, &busError, nullptr);
    Delivery delivery = Delivery::handled;
    if (result < 0) {
        const bool missing = saysNobodyIsThere(busError);
        delivery = missing ? Delivery::agentMissing : Delivery::refused;
        error = missing ? "the agent is not running"
                        : std::string("the agent did not take the event: ") +
                              (busError.message != nullptr ? busError.message : std::strerror(-result));
    }
    sd_bus_error_free(&busError);
    return delivery;
}

} // namespace trigora::tools
