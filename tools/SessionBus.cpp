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

/// The parameters of an answer; those before one that is no parameter.
std::vector<AppleEventParameter> parametersOf(sd_bus_message* reply) {
    std::vector<AppleEventParameter> parameters;
    if (sd_bus_message_enter_container(reply, SD_BUS_TYPE_ARRAY, "(uuay)") < 0) {
        return parameters;
    }
    while (sd_bus_message_enter_container(reply, SD_BUS_TYPE_STRUCT, "uuay") > 0) {
        AppleEventParameter parameter;
        const void* bytes = nullptr;
        std::size_t size = 0;
        if (sd_bus_message_read(reply, "uu", &parameter.keyword, &parameter.type) < 0 ||
            sd_bus_message_read_array(reply, SD_BUS_TYPE_BYTE, &bytes, &size) < 0) {
            break;
        }
        const auto* first = static_cast<const std::uint8_t*>(bytes);
        parameter.bytes.assign(first, first + size);
        parameters.push_back(std::move(parameter));
        sd_bus_message_exit_container(reply);
    }
    return parameters;
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
    BusMessagePointer reply;
    return call(event, answerTimeOutMicroseconds, reply, error);
}

std::optional<AppleEvent> SessionBus::askAgent(const AppleEvent& event, double seconds,
                                               std::string& error) const {
    BusMessagePointer reply;
    if (call(event, static_cast<std::uint64_t>(seconds * 1e6), reply, error) != Delivery::handled) {
        return std::nullopt;
    }
    AppleEvent answer{event.eventClass, event.eventID, parametersOf(reply.get())};
    return answer;
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
    const BusMessagePointer message = eventMessage(bus_.get(), event);
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
        error = missing ? "the agent is not running"
                        : std::string("the agent did not take the event: ") +
                              (busError.message != nullptr ? busError.message : std::strerror(-result));
    }
    sd_bus_error_free(&busError);
    return delivery;
}

} // namespace trigora::tools
