#pragma once

#include "platform/linux/bus/BusAppleEvents.h"
#include "platform/linux/bus/BusConnection.h"
#include "platform/linux/bus/BusNames.h"
#include "platform/linux/bus/BusNotifications.h"
#include "platform/linux/loop/LinuxRunLoop.h"

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <stdexcept>
#include <string>

namespace trigora::test {

/// One program on the session bus, with all that it needs to take part.
class BusParty {
public:
    explicit BusParty(std::chrono::milliseconds timeOut = std::chrono::seconds(20)) {
        std::string error;
        connection = platform::BusConnection::open(loop, error);
        if (!connection) {
            throw std::runtime_error(error);
        }
        notifications = std::make_unique<platform::BusNotifications>(*connection);
        events = std::make_unique<platform::BusAppleEvents>(*connection, timeOut);
    }

    /// Turns the loop until the condition holds; fails the test when it does not within ten seconds.
    void turnUntil(const std::function<bool()>& condition) {
        const auto check = loop.addRepeatingTimer(0.002, [&] {
            if (condition()) {
                loop.stop(0);
            }
        });
        const auto guard = loop.addRepeatingTimer(10, [&] {
            ADD_FAILURE() << "nothing came";
            loop.stop(1);
        });
        loop.run();
        loop.cancelTimer(check);
        loop.cancelTimer(guard);
    }

    /// Turns the loop until everything that this party and the others have posted has been delivered.
    void settle(std::initializer_list<BusParty*> others = {}) {
        std::size_t settled = 0;
        const auto observer = notifications->observe("settled", [&](const auto&) { ++settled; });
        int party = 0;
        notifications->post("settled", platform::Dictionary{{"party", party}}, true);
        for (BusParty* other : others) {
            other->notifications->post("settled", platform::Dictionary{{"party", ++party}}, true);
        }
        turnUntil([&] { return settled == others.size() + 1; });
        notifications->removeObserver(observer);
    }

    platform::LinuxRunLoop loop;
    std::unique_ptr<platform::BusConnection> connection;
    std::unique_ptr<platform::BusNotifications> notifications;
    std::unique_ptr<platform::BusAppleEvents> events;
};

} // namespace trigora::test
