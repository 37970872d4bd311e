#include "companions/TrigoraButtons/bus/DesktopMessages.h"

namespace trigora::buttons {

void showDesktopMessage(platform::BusConnection& connection, const std::string& title,
                        const std::string& text) {
    constexpr const char* server = "org.freedesktop.Notifications";
    constexpr std::uint32_t replacesNone = 0;
    constexpr int noActions = 0;
    constexpr int noHints = 0;
    constexpr std::int32_t usualTime = -1;
    connection.send([&](sd_bus* bus) {
        sd_bus_message* made = nullptr;
        int result = ::sd_bus_message_new_method_call(bus, &made, server, "/org/freedesktop/Notifications",
                                                      server, "Notify");
        const platform::BusMessagePointer message(made);
        if (result >= 0) {
            result = ::sd_bus_message_append(made, "susssasa{sv}i", "TrigoraButtons", replacesNone, "scanner",
                                             title.c_str(), text.c_str(), noActions, noHints, usualTime);
        }
        if (result >= 0) {
            ::sd_bus_message_set_expect_reply(made, 0);
            result = ::sd_bus_send(bus, made, nullptr);
        }
        return result;
    });
}

} // namespace trigora::buttons
