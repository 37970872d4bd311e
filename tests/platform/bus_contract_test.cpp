#include "tests/fakes/Fakes.h"
#include "tests/fakes/PrivateBus.h"
#include "tests/platform/BusParty.h"

#include <limits>
#include <thread>

// What the system relies on, of the fakes that its tests use and of the real thing alike.

namespace trigora::test {

namespace {

using platform::AppleEvent;
using platform::AppleEventReply;
using platform::Notification;

class World {
public:
    virtual ~World() = default;
    virtual platform::RunLoop& loop() = 0;
    virtual platform::DistributedNotifications& notifications() = 0;
    virtual platform::AppleEvents& events() = 0;
    virtual void postFromOutside(const std::string& name, const std::optional<Dictionary>& userInfo) = 0;
    virtual AppleEventReply sendFromOutside(const AppleEvent& event) = 0;
    /// Lets the loop turn until everything posted so far has been delivered.
    virtual void settle() = 0;
    virtual void turnFor(double seconds) = 0;
};

class FakeWorld final : public World {
public:
    platform::RunLoop& loop() override { return loop_; }
    platform::DistributedNotifications& notifications() override { return notifications_; }
    platform::AppleEvents& events() override { return events_; }
    void postFromOutside(const std::string& name, const std::optional<Dictionary>& userInfo) override {
        loop_.performOnMainThread([=, this] { notifications_.receive(name, userInfo); });
    }
    AppleEventReply sendFromOutside(const AppleEvent& event) override { return events_.receive(event); }
    void settle() override { loop_.runPending(); }
    void turnFor(double seconds) override { loop_.advance(seconds); }

private:
    Journal journal_;
    FakeClock clock_;
    FakeRunLoop loop_{clock_};
    FakeNotifications notifications_{loop_, journal_};
    FakeAppleEvents events_{journal_};
};

class BusWorld final : public World {
public:
    static constexpr std::uint32_t signature = platform::fourCharCode("TrgA");

    BusWorld() { EXPECT_TRUE(here_.connection->requestName(platform::bus::signatureName(signature))); }

    platform::RunLoop& loop() override { return here_.loop; }
    platform::DistributedNotifications& notifications() override { return *here_.notifications; }
    platform::AppleEvents& events() override { return *here_.events; }
    void postFromOutside(const std::string& name, const std::optional<Dictionary>& userInfo) override {
        settle(); // Two programs' posts have an order only when one has seen the other's.
        outside_.notifications->post(name, userInfo, false);
        settle();
    }
    AppleEventReply sendFromOutside(const AppleEvent& event) override {
        AppleEventReply reply;
        std::thread sender([&] {
            reply = outside_.events->sendWaitingForReply(platform::SignatureTarget{signature}, event);
            here_.loop.stop(0);
        });
        here_.loop.run();
        sender.join();
        return reply;
    }
    void settle() override { here_.settle({&outside_}); }
    void turnFor(double seconds) override {
        const auto timer = here_.loop.addRepeatingTimer(seconds, [this] { here_.loop.stop(0); });
        here_.loop.run();
        here_.loop.cancelTimer(timer);
    }

private:
    PrivateBus bus_;
    BusParty here_;
    BusParty outside_;
};

class BusContract : public ::testing::TestWithParam<std::string> {
protected:
    BusContract() {
        if (GetParam() == "Fake") {
            world_ = std::make_unique<FakeWorld>();
        } else {
            world_ = std::make_unique<BusWorld>();
        }
    }

    platform::DistributedNotifications& notifications() { return world_->notifications(); }
    /// Notes each notification of a name with a mark of the observer's.
    platform::DistributedNotifications::ObserverID observe(const std::string& name, const std::string& mark) {
        return notifications().observe(name, [this, mark](const Notification& notification) {
            heard_.push_back(mark + notification.name +
                             (notification.userInfo ? Value(*notification.userInfo).description() : ""));
        });
    }
    Lines heard() {
        world_->settle();
        return std::exchange(heard_, {});
    }

    std::unique_ptr<World> world_;
    Lines heard_;
};

AppleEvent press(std::vector<platform::AppleEventParameter> parameters = {}) {
    return {platform::fourCharCode("PLsc"), platform::fourCharCode("OPtw"), std::move(parameters)};
}

TEST_P(BusContract, postsAreHeardByThoseWhoObserveTheNameInTheOrderOfPosting) {
    observe("A", "1 ");
    observe("it's a \\ name", "2 ");
    notifications().post("A", std::nullopt, true);
    EXPECT_EQ(heard_, Lines()) << "nothing is delivered inside a post";
    world_->postFromOutside("A", Dictionary{{"key", "outside"}});
    notifications().post("B", std::nullopt, true);
    notifications().post("it's a \\ name", Dictionary{{"key", 1}}, false);
    notifications().post("A", Dictionary{{"key", 2}}, false);
    EXPECT_EQ(heard(), (Lines{"1 A", "1 A{key = outside;}", "2 it's a \\ name{key = 1;}", "1 A{key = 2;}"}));
}

TEST_P(BusContract, userInformationArrivesAsItWasSent) {
    constexpr std::int64_t most = std::numeric_limits<std::int64_t>::max();
    constexpr std::int64_t least = std::numeric_limits<std::int64_t>::min();
    const Dictionary sent{{"true", true},
                          {"false", false},
                          {"zero", 0},
                          {"most", most},
                          {"least", least},
                          {"real", -2.5},
                          {"text", "Ünïcödé 日本 🖨"},
                          {"", "empty key"},
                          {"empty text", ""},
                          {"data", Data{0, 255, 10}},
                          {"empty data", Data()},
                          {"list", Array{1, "two", Array(), Dictionary{{"three", 3.0}}}},
                          {"dictionary", Dictionary{{"inner", Dictionary{{"list", Array{true}}}}}},
                          {"empty dictionary", Dictionary()}};
    std::optional<Dictionary> received;
    notifications().observe("A", [&](const Notification& heard) { received = heard.userInfo; });
    notifications().post("A", sent, true);
    world_->settle();
    ASSERT_TRUE(received);
    EXPECT_EQ(Value(*received), Value(sent)) << Value(*received).description();
}

TEST_P(BusContract, observersAreCalledInTheOrderOfTheirAddingAndMayComeAndGo) {
    platform::DistributedNotifications::ObserverID third = 0;
    platform::DistributedNotifications::ObserverID second = 0;
    observe("A", "1 ");
    second = notifications().observe("A", [&](const Notification&) {
        heard_.emplace_back("2 A");
        notifications().removeObserver(third);
        notifications().removeObserver(second);
        observe("A", "4 ");
    });
    third = observe("A", "3 ");
    notifications().post("A", std::nullopt, true);
    EXPECT_EQ(heard(), (Lines{"1 A", "2 A"}));
    notifications().post("A", std::nullopt, true);
    EXPECT_EQ(heard(), (Lines{"1 A", "4 A"}));
}

TEST_P(BusContract, removedObserversHearNothingMore) {
    const auto first = observe("A", "1 ");
    const auto second = observe("A", "2 ");
    notifications().removeObserver(first);
    notifications().removeObserver(first);
    notifications().post("A", std::nullopt, true);
    EXPECT_EQ(heard(), (Lines{"2 A"}));
    notifications().removeObserver(second);
    notifications().post("A", std::nullopt, true);
    EXPECT_EQ(heard(), Lines());
    observe("A", "3 ");
    notifications().post("A", std::nullopt, true);
    EXPECT_EQ(heard(), (Lines{"3 A"}));
}

TEST_P(BusContract, eventsReachTheirHandlerAndItsReplyTheSender) {
    const platform::AppleEventParameter parameter{platform::fourCharCode("----"),
                                                  platform::fourCharCode("****"), Data(76, 0xA5)};
    const platform::AppleEventParameter empty{platform::fourCharCode("none"), 0, {}};
    world_->events().setEventHandler(press().eventClass, press().eventID,
                                     [](const AppleEvent&, AppleEvent&) { FAIL() << "was replaced"; });
    world_->events().setEventHandler(press().eventClass, press().eventID,
                                     [](const AppleEvent& event, AppleEvent& reply) {
                                         reply.parameters = event.parameters;
                                         reply.parameters.front().type = event.eventID;
                                     });
    const AppleEventReply reply = world_->sendFromOutside(press({parameter, empty}));
    EXPECT_EQ(reply.status, 0);
    ASSERT_EQ(reply.event.parameters.size(), 2U);
    EXPECT_EQ(reply.event.parameters[0].keyword, parameter.keyword);
    EXPECT_EQ(reply.event.parameters[0].type, press().eventID);
    EXPECT_EQ(reply.event.parameters[0].bytes, parameter.bytes);
    EXPECT_EQ(reply.event.parameters[1].keyword, empty.keyword);
    EXPECT_EQ(reply.event.parameters[1].bytes, empty.bytes);
}

TEST_P(BusContract, eventsWithoutHandlerAreRefused) {
    const auto take = [](const AppleEvent&, AppleEvent&) {};
    EXPECT_EQ(world_->sendFromOutside(press()).status, platform::errAEEventNotHandled);
    world_->events().setEventHandler(press().eventClass, press().eventID, take);
    EXPECT_EQ(world_->sendFromOutside(press()).status, 0);
    EXPECT_EQ(world_->sendFromOutside({press().eventClass, 1, {}}).status, platform::errAEEventNotHandled);
    world_->events().removeEventHandler(press().eventClass, press().eventID);
    EXPECT_EQ(world_->sendFromOutside(press()).status, platform::errAEEventNotHandled);
}

TEST_P(BusContract, anAbsentTargetAnswersNothing) {
    EXPECT_EQ(world_->events().sendWaitingForReply(platform::SignatureTarget{1}, press()).status,
              platform::procNotFound);
}

TEST_P(BusContract, workIsDoneInTheOrderOfHandingInAlsoWhatWorkHandsIn) {
    std::string done;
    world_->loop().performOnMainThread([&] {
        done += '1';
        world_->loop().performOnMainThread([&] { done += '3'; });
    });
    world_->loop().performOnMainThread([&] { done += '2'; });
    EXPECT_EQ(done, "");
    world_->turnFor(0.02);
    EXPECT_EQ(done, "123");
}

TEST_P(BusContract, timersRepeatUntilTheyAreCancelledAlsoByThemselves) {
    int twice = 0;
    int never = 0;
    int often = 0;
    platform::RunLoop::TimerID twiceTimer = 0;
    const auto neverTimer = world_->loop().addRepeatingTimer(0.08, [&] { ++never; });
    twiceTimer = world_->loop().addRepeatingTimer(0.005, [&] {
        world_->loop().cancelTimer(neverTimer);
        if (++twice == 2) {
            world_->loop().cancelTimer(twiceTimer);
        }
    });
    world_->loop().addRepeatingTimer(0.010, [&] { ++often; });
    world_->loop().addRepeatingTimer(1e300, [&] { ADD_FAILURE() << "not in this life"; });
    world_->turnFor(0.0951);
    EXPECT_EQ(twice, 2);
    EXPECT_EQ(never, 0);
    EXPECT_GE(often, 2);
    EXPECT_LE(often, 9);
    world_->loop().cancelTimer(twiceTimer);
}

INSTANTIATE_TEST_SUITE_P(, BusContract, ::testing::Values("Fake", "Bus"),
                         [](const auto& tested) { return tested.param; });

} // namespace

} // namespace trigora::test
