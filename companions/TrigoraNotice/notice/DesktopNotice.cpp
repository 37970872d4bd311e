#include "companions/TrigoraNotice/notice/DesktopNotice.h"

#include "platform/Text.h"

#include <cstdint>

namespace trigora::companions {

namespace {

using namespace platform;

constexpr const char* service = "org.freedesktop.Notifications";
constexpr const char* servicePath = "/org/freedesktop/Notifications";

/// Services that understand markup take "<" for the beginning of it.
std::string escaped(std::string text) {
    text = replacingOccurrences(text, "&", "&amp;");
    text = replacingOccurrences(text, "<", "&lt;");
    return replacingOccurrences(text, ">", "&gt;");
}

/// None without a service; else whether it understands markup.
std::optional<bool> askForMarkup(sd_bus* bus) {
    sd_bus_message* received = nullptr;
    const int result =
        ::sd_bus_call_method(bus, service, servicePath, service, "GetCapabilities", nullptr, &received, "");
    const BusMessagePointer reply(received);
    if (result < 0 || ::sd_bus_message_enter_container(reply.get(), 'a', "s") < 0) {
        return std::nullopt;
    }
    bool understands = false;
    const char* capability = nullptr;
    while (::sd_bus_message_read(reply.get(), "s", &capability) > 0) {
        understands = understands || std::string(capability) == "body-markup";
    }
    return understands;
}

} // namespace

std::unique_ptr<DesktopNotice> DesktopNotice::create(BusConnection& connection) {
    const std::optional<bool> understandsMarkup = askForMarkup(connection.mainBus());
    if (!understandsMarkup) {
        return nullptr;
    }
    std::unique_ptr<DesktopNotice> notice(new DesktopNotice(connection, *understandsMarkup));
    return notice->watch() ? std::move(notice) : nullptr;
}

bool DesktopNotice::watch() {
    const auto match = [this](const char* member, sd_bus_message_handler_t handler, BusSlotPointer& slot) {
        sd_bus_slot* made = nullptr;
        const int result =
            ::sd_bus_match_signal(bus_, &made, service, servicePath, service, member, handler, this);
        slot.reset(made);
        return result >= 0;
    };
    return match("ActionInvoked", actionInvoked, actionSlot_) &&
           match("NotificationClosed", closed, closedSlot_);
}

void DesktopNotice::show(NoticeContent content) {
    next_ = std::move(content);
    if (!call_) {
        send();
    }
}

void DesktopNotice::send() {
    const NoticeContent content = std::move(*next_);
    next_.reset();
    sd_bus_message* made = nullptr;
    if (::sd_bus_message_new_method_call(bus_, &made, service, servicePath, service, "Notify") < 0) {
        return;
    }
    const BusMessagePointer message(made);
    constexpr std::uint8_t normal = 1;
    constexpr std::uint8_t critical = 2;
    constexpr std::int32_t asTheDesktopHasIt = -1;
    constexpr std::int32_t never = 0;
    const std::string text = understandsMarkup_ ? escaped(content.text) : content.text;
    bool isMade = ::sd_bus_message_append(made, "susss", "Trigora", id_,
                                          content.isFailure ? "dialog-warning" : "scanner",
                                          content.title.c_str(), text.c_str()) >= 0 &&
                  ::sd_bus_message_open_container(made, 'a', "s") >= 0;
    for (const auto& [name, words] : content.actions) {
        isMade = isMade && ::sd_bus_message_append(made, "ss", name.c_str(), words.c_str()) >= 0;
    }
    isMade = isMade && ::sd_bus_message_close_container(made) >= 0 &&
             ::sd_bus_message_append(made, "a{sv}i", 3, "urgency", "y", content.isFailure ? critical : normal,
                                     "resident", "b", content.isOngoing ? 1 : 0, "category", "s",
                                     content.isFailure ? "device.error" : "device",
                                     content.isOngoing ? never : asTheDesktopHasIt) >= 0;
    sd_bus_slot* call = nullptr;
    if (isMade && ::sd_bus_call_async(bus_, &call, made, shown, this, 0) >= 0) {
        call_.reset(call);
    }
}

void DesktopNotice::close() {
    next_.reset();
    if (id_ != 0) {
        ::sd_bus_call_method_async(bus_, nullptr, service, servicePath, service, "CloseNotification", nullptr,
                                   nullptr, "u", id_);
        ::sd_bus_flush(bus_);
    }
}

int DesktopNotice::shown(sd_bus_message* reply, void* notice, sd_bus_error* /*error*/) {
    auto* self = static_cast<DesktopNotice*>(notice);
    self->call_.reset();
    if (::sd_bus_message_is_method_error(reply, nullptr) == 0) {
        ::sd_bus_message_read(reply, "u", &self->id_);
    }
    if (self->next_) {
        self->send();
    }
    return 0;
}

int DesktopNotice::actionInvoked(sd_bus_message* signal, void* notice, sd_bus_error* /*error*/) {
    auto* self = static_cast<DesktopNotice*>(notice);
    std::uint32_t id = 0;
    const char* action = nullptr;
    if (::sd_bus_message_read(signal, "us", &id, &action) > 0 && id == self->id_ && self->actionHandler_) {
        self->actionHandler_(action);
    }
    return 0;
}

int DesktopNotice::closed(sd_bus_message* signal, void* notice, sd_bus_error* /*error*/) {
    auto* self = static_cast<DesktopNotice*>(notice);
    std::uint32_t id = 0;
    if (::sd_bus_message_read(signal, "u", &id) > 0 && id == self->id_ && id != 0) {
        self->id_ = 0; // what comes next is a new notification
        if (self->closedHandler_) {
            self->closedHandler_();
        }
    }
    return 0;
}

} // namespace trigora::companions
