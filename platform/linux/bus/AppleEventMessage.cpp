#include "platform/linux/bus/AppleEventMessage.h"

#include "platform/linux/bus/BusNames.h"

namespace trigora::platform::bus {

namespace {

int appendParameter(sd_bus_message* message, const AppleEventParameter& parameter) {
    int result = sd_bus_message_open_container(message, 'r', "uuay");
    if (result >= 0) {
        result = sd_bus_message_append(message, "uu", parameter.keyword, parameter.type);
    }
    if (result >= 0) {
        result = sd_bus_message_append_array(message, 'y', parameter.bytes.data(), parameter.bytes.size());
    }
    return result < 0 ? result : sd_bus_message_close_container(message);
}

/// The next parameter; none at the end of the list and when the message is broken.
std::optional<AppleEventParameter> readParameter(sd_bus_message* message) {
    AppleEventParameter parameter;
    const void* bytes = nullptr;
    std::size_t size = 0;
    if (sd_bus_message_enter_container(message, 'r', "uuay") <= 0 ||
        sd_bus_message_read(message, "uu", &parameter.keyword, &parameter.type) <= 0 ||
        sd_bus_message_read_array(message, 'y', &bytes, &size) < 0 ||
        sd_bus_message_exit_container(message) < 0) {
        return std::nullopt;
    }
    if (size > 0) {
        const auto* first = static_cast<const std::uint8_t*>(bytes);
        parameter.bytes.assign(first, first + size);
    }
    return parameter;
}

} // namespace

int appendParameters(sd_bus_message* message, const std::vector<AppleEventParameter>& parameters) {
    int result = sd_bus_message_open_container(message, 'a', "(uuay)");
    for (auto parameter = parameters.begin(); result >= 0 && parameter != parameters.end(); ++parameter) {
        result = appendParameter(message, *parameter);
    }
    return result < 0 ? result : sd_bus_message_close_container(message);
}

std::optional<std::vector<AppleEventParameter>> readParameters(sd_bus_message* message) {
    std::vector<AppleEventParameter> parameters;
    if (sd_bus_message_enter_container(message, 'a', "(uuay)") < 0) {
        return std::nullopt;
    }
    while (std::optional<AppleEventParameter> parameter = readParameter(message)) {
        parameters.push_back(std::move(*parameter));
    }
    return sd_bus_message_exit_container(message) >= 0 ? std::optional(std::move(parameters)) : std::nullopt;
}

BusMessagePointer eventCall(sd_bus* bus, const std::string& destination, const AppleEvent& event) {
    sd_bus_message* made = nullptr;
    int result = sd_bus_message_new_method_call(bus, &made, destination.c_str(), appleEventsPath,
                                                appleEventsInterface, sendMethod);
    BusMessagePointer message(made);
    if (result >= 0) {
        result = sd_bus_message_append(made, "uu", event.eventClass, event.eventID);
    }
    if (result >= 0) {
        result = appendParameters(made, event.parameters);
    }
    return result < 0 ? nullptr : std::move(message);
}

std::optional<AppleEvent> readEventCall(sd_bus_message* message) {
    AppleEvent event;
    if (sd_bus_message_read(message, "uu", &event.eventClass, &event.eventID) <= 0) {
        return std::nullopt;
    }
    auto parameters = readParameters(message);
    if (!parameters) {
        return std::nullopt;
    }
    event.parameters = std::move(*parameters);
    return event;
}

std::optional<std::vector<AppleEventParameter>> readEventReply(sd_bus_message* message) {
    return sd_bus_message_has_signature(message, replySignature) > 0 ? readParameters(message) : std::nullopt;
}

} // namespace trigora::platform::bus
