#include "platform/linux/desktop/LinuxAlertPanel.h"

#include "platform/linux/loop/SystemdPointers.h"

#include <cstdint>
#include <optional>

namespace trigora::platform {

namespace {

constexpr const char* server = "org.freedesktop.Notifications";
constexpr const char* serverPath = "/org/freedesktop/Notifications";

/// One notification from its appearance to its end. Signals that arrive before the server has told the
/// notification's ID wait in the connection's queue.
class Alert {
public:
    /// None when there is no bus.
    static BusPointer connect() {
        sd_bus* made = nullptr;
        const int result = ::sd_bus_open_user(&made);
        BusPointer bus(made);
        if (result < 0) {
            return nullptr;
        }
        ::sd_bus_set_method_call_timeout(
            bus.get(),
            static_cast<std::uint64_t>(std::chrono::microseconds(LinuxAlertPanel::acceptanceTime).count()));
        return bus;
    }

    explicit Alert(sd_bus* bus) : bus_(bus) {}

    /// False when no server has taken it.
    bool show(const std::string& title, const std::string& message, const std::string& button) {
        return watch(server, serverPath, server, "ActionInvoked", actionInvoked, actionSlot_) &&
               watch(server, serverPath, server, "NotificationClosed", closed, closedSlot_) &&
               watch("org.freedesktop.DBus", "/org/freedesktop/DBus", "org.freedesktop.DBus",
                     "NameOwnerChanged", ownerChanged, ownerSlot_) &&
               notify(title, message, button);
    }

    AlertAnswer wait(RunLoop& runLoop) {
        constexpr std::uint64_t lookingInterval = 250000; // microseconds
        while (!answer_) {
            const int handled = ::sd_bus_process(bus_, nullptr);
            if (handled < 0 || (handled == 0 && ::sd_bus_wait(bus_, lookingInterval) < 0)) {
                return AlertAnswer::closed; // the bus has gone
            }
            if (runLoop.isEnding()) {
                ::sd_bus_call_method_async(bus_, nullptr, server, serverPath, server, "CloseNotification",
                                           nullptr, nullptr, "u", notificationID_);
                ::sd_bus_flush(bus_);
                return AlertAnswer::closed;
            }
        }
        return *answer_;
    }

private:
    bool watch(const char* sender, const char* path, const char* interface, const char* member,
               sd_bus_message_handler_t handler, BusSlotPointer& slot) {
        sd_bus_slot* made = nullptr;
        const int result = ::sd_bus_match_signal(bus_, &made, sender, path, interface, member, handler, this);
        slot.reset(made);
        return result >= 0;
    }

    bool notify(const std::string& title, const std::string& message, const std::string& button) {
        constexpr std::uint32_t replacesNone = 0;
        constexpr int actionWords = 4; // a click on the message itself counts as its button
        constexpr int hints = 1;
        constexpr std::uint8_t critical = 2; // servers let no critical notification expire
        constexpr std::int32_t neverExpires = 0;
        sd_bus_message* received = nullptr;
        const int result = ::sd_bus_call_method(
            bus_, server, serverPath, server, "Notify", nullptr, &received, "susssasa{sv}i", "TrigoraAgent",
            replacesNone, "scanner", title.c_str(), message.c_str(), actionWords, "default", button.c_str(),
            "ok", button.c_str(), hints, "urgency", "y", critical, neverExpires);
        const BusMessagePointer reply(received);
        if (result < 0 || ::sd_bus_message_read(reply.get(), "u", &notificationID_) < 0) {
            return false;
        }
        const char* sender = ::sd_bus_message_get_sender(reply.get());
        server_ = sender == nullptr ? "" : sender;
        return true;
    }

    /// The notification's ID is read.
    bool concernsThis(sd_bus_message* signal) const {
        std::uint32_t id = 0;
        const char* sender = ::sd_bus_message_get_sender(signal);
        return sender != nullptr && server_ == sender && ::sd_bus_message_read(signal, "u", &id) > 0 &&
               id == notificationID_;
    }

    static int actionInvoked(sd_bus_message* signal, void* alert, sd_bus_error*) {
        auto* self = static_cast<Alert*>(alert);
        if (self->concernsThis(signal)) {
            self->answer_ = AlertAnswer::defaultButton;
        }
        return 0;
    }

    /// Servers also say so after the action, but the first signal ends the wait.
    static int closed(sd_bus_message* signal, void* alert, sd_bus_error*) {
        constexpr std::uint32_t dismissedByUser = 2;
        auto* self = static_cast<Alert*>(alert);
        if (self->concernsThis(signal)) {
            std::uint32_t reason = 0;
            const bool isDismissed =
                ::sd_bus_message_read(signal, "u", &reason) > 0 && reason == dismissedByUser;
            self->answer_ = isDismissed ? AlertAnswer::defaultButton : AlertAnswer::closed;
        }
        return 0;
    }

    static int ownerChanged(sd_bus_message* signal, void* alert, sd_bus_error*) {
        auto* self = static_cast<Alert*>(alert);
        const char* name = "";
        const char* oldOwner = "";
        const char* newOwner = "";
        const bool isRead = ::sd_bus_message_read(signal, "sss", &name, &oldOwner, &newOwner) > 0;
        if (isRead && std::string(name) == server && self->server_ == oldOwner) {
            self->answer_ = AlertAnswer::closed;
        }
        return 0;
    }

    sd_bus* bus_;
    BusSlotPointer actionSlot_;
    BusSlotPointer closedSlot_;
    BusSlotPointer ownerSlot_;
    std::string server_; ///< unique name of the server that shows the notification
    std::uint32_t notificationID_ = 0;
    std::optional<AlertAnswer> answer_;
};

} // namespace

AlertAnswer LinuxAlertPanel::run(const std::string& title, const std::string& message,
                                 const std::string& button) {
    const BusPointer bus = Alert::connect();
    if (bus) {
        Alert alert(bus.get());
        if (alert.show(title, message, button)) {
            return alert.wait(runLoop_);
        }
    }
    console_.write(title + ": " + message);
    return AlertAnswer::defaultButton;
}

} // namespace trigora::platform
