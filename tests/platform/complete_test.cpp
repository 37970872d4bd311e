#include "platform/AppleEvents.h"
#include "platform/Bundles.h"
#include "platform/DistributedNotifications.h"
#include "platform/FileSystem.h"
#include "platform/RunLoop.h"
#include "platform/linux/LinuxPlatform.h"
#include "platform/linux/bus/BusConnection.h"
#include "platform/linux/desktop/LinuxAlertPanel.h"
#include "platform/linux/loop/SystemdPointers.h"
#include "tests/fakes/Fakes.h"
#include "tests/fakes/PrivateBus.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <stdexcept>
#include <thread>

namespace trigora::platform {
namespace {

constexpr const char* serverName = "org.freedesktop.Notifications";
constexpr std::uint32_t shownID = 42;

/// A notification server that does one thing after a notification has come.
class NotificationServer {
public:
    using Deed = std::function<void(NotificationServer&)>;

    explicit NotificationServer(Deed deed) : deed_(std::move(deed)) {
        sd_bus* made = nullptr;
        if (::sd_bus_open_user(&made) < 0 || ::sd_bus_request_name(made, serverName, 0) < 0 ||
            ::sd_bus_add_filter(made, nullptr, arrived, this) < 0) {
            throw std::runtime_error("no notification server");
        }
        bus_.reset(made);
        thread_ = std::thread([this] { serve(); });
    }
    ~NotificationServer() { thread_.join(); }

    void invokeAction(std::uint32_t id) {
        ::sd_bus_emit_signal(bus_.get(), "/org/freedesktop/Notifications", serverName, "ActionInvoked", "us",
                             id, "ok");
    }
    /// Dismissed by the user unless another reason is given.
    void closeNotification(std::uint32_t id, std::uint32_t reason = 2) {
        ::sd_bus_emit_signal(bus_.get(), "/org/freedesktop/Notifications", serverName, "NotificationClosed",
                             "uu", id, reason);
    }

    /// Returns once the daemon has passed on everything sent before; one round trip shows that it has read
    /// it, the second that it has written it.
    void settle() {
        for (int i = 0; i < 2; ++i) {
            ::sd_bus_call_method(bus_.get(), "org.freedesktop.DBus", "/", "org.freedesktop.DBus", "GetId",
                                 nullptr, nullptr, "");
        }
    }

    /// Until that method is called.
    void serveUntil(const std::string& member) {
        const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(10);
        while (asked_ != member && std::chrono::steady_clock::now() < end) {
            if (::sd_bus_process(bus_.get(), nullptr) == 0) {
                ::sd_bus_wait(bus_.get(), 100000);
            }
        }
        EXPECT_EQ(asked_, member);
    }

    std::string shown; ///< title | text | actions

private:
    static int arrived(sd_bus_message* message, void* server, sd_bus_error*) {
        auto* self = static_cast<NotificationServer*>(server);
        if (const char* member = ::sd_bus_message_get_member(message)) {
            self->asked_ = member;
        }
        if (::sd_bus_message_is_method_call(message, serverName, "Notify") <= 0) {
            return 0;
        }
        const char* program = "";
        const char* icon = "";
        const char* title = "";
        const char* text = "";
        const char* words[4] = {"", "", "", ""};
        std::uint32_t replaces = 0;
        ::sd_bus_message_read(message, "susssas", &program, &replaces, &icon, &title, &text, 4, &words[0],
                              &words[1], &words[2], &words[3]);
        self->shown = std::string(title) + " | " + text + " | " + words[0] + "=" + words[1] + " " + words[2] +
                      "=" + words[3];
        return ::sd_bus_reply_method_return(message, "u", shownID);
    }

    /// Ends when the deed is done, and with it the connection.
    void serve() {
        serveUntil("Notify");
        ::sd_bus_flush(bus_.get());
        deed_(*this);
        ::sd_bus_flush(bus_.get());
        bus_.reset();
    }

    Deed deed_;
    BusPointer bus_;
    std::string asked_; ///< the last method called
    std::thread thread_;
};

class Alerts : public ::testing::Test {
protected:
    AlertAnswer run() { return LinuxAlertPanel(console, loop).run("Title", "Tëxt", "OK"); }

    test::FakeConsole console;
    test::FakeClock clock;
    test::FakeRunLoop loop{clock};
};

TEST_F(Alerts, AreAnsweredByTheirButtonOrByTheirEnd) {
    const test::PrivateBus bus;
    const std::pair<NotificationServer::Deed, AlertAnswer> cases[] = {
        {[](auto& server) { server.invokeAction(shownID); }, AlertAnswer::defaultButton},
        {[](auto& server) { server.closeNotification(shownID); }, AlertAnswer::defaultButton},
        {[](auto& server) { server.closeNotification(shownID, 1); }, AlertAnswer::closed}, // it expired
        {[](auto& server) {
             server.invokeAction(shownID + 1);
             server.closeNotification(shownID, 3);
         },
         AlertAnswer::closed},
        {[](auto& server) {
             server.closeNotification(shownID + 1, 3);
             server.invokeAction(shownID);
             server.closeNotification(shownID, 3);
         },
         AlertAnswer::defaultButton},
        {[&](auto& server) {
             loop.stop(0);
             server.serveUntil("CloseNotification");
         },
         AlertAnswer::closed},               // the program ends
        {[](auto&) {}, AlertAnswer::closed}, // it goes away without a word
    };
    for (const auto& [deed, answer] : cases) {
        loop.run();
        NotificationServer server(deed);
        EXPECT_EQ(run(), answer);
        EXPECT_EQ(server.shown, "Title | Tëxt | default=OK ok=OK");
    }
    EXPECT_EQ(console.take(), test::Lines{});
}

TEST_F(Alerts, EndWithTheBus) {
    test::PrivateBus bus;
    NotificationServer server([&](auto& self) {
        self.settle();
        bus.end();
    });
    EXPECT_EQ(run(), AlertAnswer::closed);
}

TEST_F(Alerts, GoToTheConsoleWhereNobodyShowsThem) {
    {
        const test::PrivateBus withoutServer;
        EXPECT_EQ(run(), AlertAnswer::defaultButton);
    }
    ::setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere", 1);
    EXPECT_EQ(run(), AlertAnswer::defaultButton);
    EXPECT_EQ(console.take(), (test::Lines{"Title: Tëxt", "Title: Tëxt"}));
}

TEST(LinuxPlatform, NeedsTheSessionBusUnlessToldOtherwise) {
    ::setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nowhere", 1);
    std::string error;
    EXPECT_EQ(LinuxPlatform::create({"/r", "", true}, error), nullptr);
    EXPECT_NE(error, "");
    const auto offline = LinuxPlatform::create({"/r", "", false}, error);
    ASSERT_TRUE(offline);
    EXPECT_EQ(offline->bus(), nullptr);
    EXPECT_EQ(offline->root().path(), "/r");
    EXPECT_EQ(offline->platform().appleEvents.sendWithoutReply(SignatureTarget{1}, {}), procNotFound);
    offline->platform().notifications.post("x", std::nullopt, true);
    install(&offline->platform());
    EXPECT_EQ(mainBundleIdentifier(), "TrigoraAgent");
}

struct Mark {
    ~Mark() { current().fileSystem.exists("/"); } // ends the test program when no platform is in use
};

TEST(LinuxPlatform, JoinsTheBusAndOutlivesItsSharedInstances) {
    const test::PrivateBus bus;
    std::string error;
    auto real = LinuxPlatform::create({}, error);
    ASSERT_TRUE(real) << error;
    ASSERT_NE(real->bus(), nullptr);
    EXPECT_TRUE(real->bus()->requestName("com.pelox.TrigoraAgent"));
    install(&real->platform());
    const std::weak_ptr<Mark> mark = shared<Mark>();
    bool heard = false;
    real->platform().notifications.observe("hello", [&](const Notification&) {
        heard = true;
        real->platform().runLoop.stop(3);
    });
    real->platform().notifications.post("hello", std::nullopt, true);
    EXPECT_EQ(real->platform().runLoop.run(), 3);
    EXPECT_TRUE(heard);
    real.reset();
    EXPECT_TRUE(mark.expired());
}

} // namespace
} // namespace trigora::platform
