#include "companions/TrigoraNotice/notice/DesktopNotice.h"

#include "tests/fakes/PrivateBus.h"
#include "tests/platform/BusParty.h"

#include <gtest/gtest.h>

namespace trigora::companions {
namespace {

using namespace test;

constexpr const char* service = "org.freedesktop.Notifications";

/// A notification service in the same loop as what it serves, on a connection of its own.
class NotificationService {
public:
    explicit NotificationService(platform::LinuxRunLoop& loop) {
        sd_bus* made = nullptr;
        EXPECT_GE(::sd_bus_open_user(&made), 0);
        bus_.reset(made);
        EXPECT_GE(::sd_bus_request_name(made, service, 0), 0);
        EXPECT_GE(::sd_bus_add_filter(made, nullptr, arrived, this), 0);
        pump_ = loop.addRepeatingTimer(0.001, [this] { serve(); });
    }

    void serve() {
        while (::sd_bus_process(bus_.get(), nullptr) > 0) {
        }
    }
    void emit(const char* member, std::uint32_t id, const char* action) {
        if (action != nullptr) {
            ::sd_bus_emit_signal(bus_.get(), "/org/freedesktop/Notifications", service, member, "us", id,
                                 action);
        } else {
            ::sd_bus_emit_signal(bus_.get(), "/org/freedesktop/Notifications", service, member, "uu", id, 2U);
        }
    }

    std::vector<std::string> shown; ///< "what it replaces: title | text | first button"
    std::vector<std::uint32_t> closed;

private:
    static int arrived(sd_bus_message* message, void* self, sd_bus_error* /*error*/) {
        auto& here = *static_cast<NotificationService*>(self);
        if (::sd_bus_message_is_method_call(message, service, "GetCapabilities") > 0) {
            return ::sd_bus_reply_method_return(message, "as", 1, "body-markup");
        }
        std::uint32_t id = 0;
        if (::sd_bus_message_is_method_call(message, service, "CloseNotification") > 0) {
            ::sd_bus_message_read(message, "u", &id);
            here.closed.push_back(id);
            return ::sd_bus_reply_method_return(message, "");
        }
        if (::sd_bus_message_is_method_call(message, service, "Notify") <= 0) {
            return 0;
        }
        const char* program = "";
        const char* icon = "";
        const char* title = "";
        const char* text = "";
        const char* button = "";
        ::sd_bus_message_read(message, "susss", &program, &id, &icon, &title, &text);
        ::sd_bus_message_enter_container(message, 'a', "s");
        ::sd_bus_message_read(message, "s", &button);
        here.shown.push_back(std::to_string(id) + ": " + title + " | " + text + " | " + button);
        return ::sd_bus_reply_method_return(message, "u", 7U);
    }

    platform::BusPointer bus_;
    platform::RunLoop::TimerID pump_;
};

TEST(DesktopNoticeTest, OneNotificationChangesAndItsButtonsAreHeard) {
    const PrivateBus bus;
    BusParty party;
    // The service has to answer while it is asked whether it is there.
    std::atomic<bool> isReady = false;
    std::atomic<bool> isAsked = false;
    platform::LinuxRunLoop serviceLoop;
    NotificationService server(serviceLoop);
    std::thread asked([&] {
        isReady = true;
        while (!isAsked) {
            server.serve();
            std::this_thread::yield();
        }
    });
    const std::unique_ptr<DesktopNotice> notice = DesktopNotice::create(*party.connection);
    isAsked = true;
    asked.join();
    ASSERT_NE(notice, nullptr);
    const auto turnUntil = [&](const std::function<bool()>& condition) {
        party.turnUntil([&] {
            server.serve();
            return condition();
        });
    };

    std::string heard;
    notice->onAction([&heard](const std::string& action) { heard += action + ' '; });
    notice->onClosed([&heard] { heard += "closed "; });
    notice->show(
        {.title = "Scanning", .text = "A & <B>", .actions = {{"cancel", "Stop"}}, .isOngoing = true});
    notice->show({.title = "passed over", .text = "", .actions = {}});
    notice->show({.title = "Scanned", .text = "2 pages", .actions = {{"default", "Open"}}});
    turnUntil([&] { return server.shown.size() == 2; });
    EXPECT_EQ(server.shown, (std::vector<std::string>{"0: Scanning | A &amp; &lt;B&gt; | cancel",
                                                      "7: Scanned | 2 pages | default"}));
    server.emit("ActionInvoked", 8, "another's");
    server.emit("ActionInvoked", 7, "default");
    turnUntil([&] { return !heard.empty(); });
    notice->close();
    turnUntil([&] { return server.closed == std::vector<std::uint32_t>{7}; });
    server.emit("NotificationClosed", 7, nullptr);
    turnUntil([&] { return heard.ends_with("closed "); });
    EXPECT_EQ(heard, "default closed ");
}

TEST(DesktopNoticeTest, WithoutAServiceThereIsNone) {
    const PrivateBus bus;
    const BusParty party;
    EXPECT_EQ(DesktopNotice::create(*party.connection), nullptr);
}

} // namespace
} // namespace trigora::companions
