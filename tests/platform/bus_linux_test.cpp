#include "platform/Text.h"
#include "platform/linux/bus/BusValue.h"
#include "platform/linux/loop/EndWatch.h"
#include "platform/linux/loop/LinuxClock.h"
#include "tests/fakes/Journal.h"
#include "tests/fakes/PrivateBus.h"
#include "tests/platform/BusParty.h"

#include <sys/resource.h>
#include <sys/socket.h>

#include <atomic>
#include <cmath>
#include <ctime>
#include <latch>
#include <limits>
#include <thread>

// What only the real loop and bus have to withstand.

namespace trigora::test {

namespace {

using platform::AppleEvent;
using platform::AppleEventReply;
using platform::Notification;
using platform::ProcessTarget;
using platform::SignatureTarget;
using std::chrono::milliseconds;
using std::chrono::steady_clock;
namespace bus = platform::bus;

constexpr std::uint32_t ourSignature = platform::fourCharCode("TrgA");
const AppleEvent press{platform::fourCharCode("PLsc"), platform::fourCharCode("OPtw"), {}};

milliseconds since(steady_clock::time_point start) {
    return std::chrono::duration_cast<milliseconds>(steady_clock::now() - start);
}

/// A child of this process that does nothing.
class IdleChild {
public:
    IdleChild() : processID_(fork()) {
        if (processID_ == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            for (;;) {
                pause();
            }
        }
    }
    ~IdleChild() {
        end();
        waitpid(processID_, nullptr, 0);
    }
    IdleChild(const IdleChild&) = delete;
    IdleChild& operator=(const IdleChild&) = delete;

    /// Leaves a zombie behind until the destruction.
    void end() const { kill(processID_, SIGKILL); }
    pid_t processID() const { return processID_; }

private:
    pid_t processID_;
};

class Bus : public ::testing::Test {
protected:
    /// Posts "A" with whatever the function appends, well-formed or not.
    template <typename Append> void postRaw(const Append& append, const char* path = bus::notificationsPath) {
        outside.connection->send([&](sd_bus* connection) {
            sd_bus_message* made = nullptr;
            sd_bus_message_new_signal(connection, &made, path, bus::notificationsInterface,
                                      bus::postedSignal);
            const platform::BusMessagePointer message(made);
            EXPECT_GE(append(made), 0);
            return sd_bus_send(connection, made, nullptr);
        });
    }
    void hear(const std::string& name) {
        here.notifications->observe(name, [this](const Notification& notification) {
            heard.push_back(notification.userInfo ? Value(*notification.userInfo).description() : "none");
        });
    }

    PrivateBus daemon;
    BusParty here;
    BusParty outside;
    Lines heard;
};

// Notifications.

TEST_F(Bus, whatOtherLanguagesSendIsReadAndTheRestLeftOut) {
    hear("A");
    const auto info = [this](const char* types, auto... values) {
        postRaw([&](sd_bus_message* message) {
            return sd_bus_message_append(message, (std::string("sba{sv}") + types).c_str(), "A", 1, 1, "key",
                                         values...);
        });
    };
    info("", "y", 255);
    info("", "n", -2);
    info("", "q", 65535);
    info("", "i", -5);
    info("", "u", 4294967295U);
    info("", "t", std::numeric_limits<std::uint64_t>::max());
    info("", "o", "/a");
    info("", "g", "a{sv}");
    info("", "v", "v", "s", "inner");
    info("", "as", 2, "one", "two");
    info("", "a{ss}", 1, "k", "v");
    info("", "a{sa{sv}}", 1, "driver", 1, "DeviceInfoModelID", "i", 42);
    info("", "av", 3, "i", 1, "(ii)", 1, 2, "i", 3);
    info("", "(si)", "structure", 1);
    info("", "a{is}", 1, 7, "seven");
    info("", "aay", 1, 2, 1, 2);
    here.settle({&outside});
    EXPECT_EQ(heard, (Lines{"{key = 255;}", "{key = -2;}", "{key = 65535;}", "{key = -5;}",
                            "{key = 4294967295;}", "{key = 9223372036854775807;}", "{key = /a;}",
                            "{key = a{sv};}", "{key = inner;}", "{key = (one, two);}", "{key = {k = v;};}",
                            "{key = {driver = {DeviceInfoModelID = 42;};};}", "{key = (1, 3);}", "none",
                            "none", "{key = (<0102>);}"}));
}

TEST_F(Bus, whatIsNoNotificationIsDropped) {
    hear("A");
    const auto append = [](const char* types, auto... values) {
        return [=](sd_bus_message* message) { return sd_bus_message_append(message, types, values...); };
    };
    postRaw([](sd_bus_message*) { return 0; });
    postRaw(append("s", "A"));
    postRaw(append("sb", "A", 1));
    postRaw(append("sba{ss}", "A", 1, 1, "key", "value"));
    postRaw(append("sba{sv}s", "A", 1, 0, "more"));
    postRaw(append("sba{sv}", "A", 1, 0), "/some/other/path");
    postRaw(append("sba{sv}", "A", 1, 0));
    here.settle({&outside});
    EXPECT_EQ(heard, (Lines{"none"}));
}

TEST_F(Bus, equalNotificationsThatWaitCountAsOneBetweenTwoEvents) {
    here.connection->mergeEqualNotifications({"settings", "folders"});
    Lines order;
    const auto note = [&](const Notification& notification) {
        order.push_back(notification.name +
                        (notification.userInfo ? Value(*notification.userInfo).description() : ""));
    };
    for (const char* name : {"settings", "folders", "answer"}) {
        here.notifications->observe(name, note);
    }
    here.events->setEventHandler(press.eventClass, press.eventID,
                                 [&](const AppleEvent&, AppleEvent&) { order.emplace_back("press"); });
    here.connection->requestName(bus::signatureName(ourSignature));
    for (int i = 0; i < 3; ++i) {
        outside.notifications->post("settings", std::nullopt, true);
        outside.notifications->post("folders", std::nullopt, true);
        outside.notifications->post("answer", std::nullopt, true);
        outside.notifications->post("settings", Dictionary{{"a", i / 2}}, true);
    }
    EXPECT_EQ(outside.events->sendWithoutReply(SignatureTarget{ourSignature}, press), 0);
    outside.notifications->post("settings", std::nullopt, true);
    here.settle({&outside});
    EXPECT_EQ(order, (Lines{"settings", "folders", "answer", "settings{a = 0;}", "answer", "answer",
                            "settings{a = 1;}", "press", "settings"}));
    outside.notifications->post("settings", std::nullopt, true);
    here.settle({&outside});
    EXPECT_EQ(order.size(), 10U) << "what was handled does not stand for what comes later";
}

TEST_F(Bus, whatArrivesWithoutEndKeepsNothingElseFromHappening) {
    std::function<void()> again = [&] { here.connection->inbox().add(again); };
    again();
    int looks = 0;
    here.turnUntil([&] { return ++looks > 3; });
}

/// A list in a list in a list …
Value nested(int levels) { return levels == 0 ? Value("core") : Value(Array{nested(levels - 1)}); }

TEST_F(Bus, whatTheBusCannotCarryDoesNotKeepTheRestFromArriving) {
    hear("A\xEF\xBF\xBD");
    const std::string broken = "a\xFF\xC0\xAF"
                               "b\xED\xA0\x80"
                               "c\xE6\x97";
    const std::string mark = "\xEF\xBF\xBD";
    here.notifications->post("A\xFF",
                             Dictionary{{"broken", broken},
                                        {std::string("nul\0key", 7), std::string("\0", 1)},
                                        {"nothing", Value()},
                                        {"list", Array{1, Value(), 2}},
                                        {"date", platform::Date{1.5}},
                                        {"real", std::numeric_limits<double>::infinity()},
                                        {"deep", nested(40)},
                                        {"deepest", nested(bus::maximumNesting - 1)}},
                             true);
    here.settle();
    EXPECT_EQ(heard, (Lines{"{broken = a" + mark + mark + mark + "b" + mark + mark + mark + "c" + mark +
                            mark + "; date = 1.5; deep = " + std::string(15, '(') + std::string(15, ')') +
                            "; deepest = " + std::string(15, '(') + "core" + std::string(15, ')') +
                            "; list = (1, 2); nul" + mark + "key = " + mark + "; real = inf;}"}));
}

TEST_F(Bus, nestingBeyondAllBoundsIsCutWhenReceived) {
    hear("A");
    const auto openLists = [](sd_bus_message* message, int levels) {
        int result = sd_bus_message_append(message, "sb", "A", 1);
        result = std::min(result, sd_bus_message_open_container(message, 'a', "{sv}"));
        result = std::min(result, sd_bus_message_open_container(message, 'e', "sv"));
        result = std::min(result, sd_bus_message_append(message, "s", "key"));
        for (int i = 0; i < levels; ++i) {
            result = std::min(result, sd_bus_message_open_container(message, 'v', "av"));
            result = std::min(result, sd_bus_message_open_container(message, 'a', "v"));
        }
        for (int i = 0; i < 2 * levels + 2; ++i) {
            result = std::min(result, sd_bus_message_close_container(message));
        }
        return result;
    };
    postRaw([&](sd_bus_message* message) { return openLists(message, 28); });
    here.settle({&outside});
    EXPECT_EQ(heard, (Lines{"{key = " + std::string(15, '(') + std::string(15, ')') + ";}"}));
}

TEST_F(Bus, eightThreadsPostWhileTheMainThreadWaits) {
    constexpr int threads = 8;
    constexpr int posts = 100;
    std::vector<std::vector<std::int64_t>> arrived(threads);
    here.notifications->observe("count", [&](const Notification& notification) {
        const auto thread = platform::integerAt(*notification.userInfo, "thread").value();
        arrived[static_cast<std::size_t>(thread)].push_back(
            platform::integerAt(*notification.userInfo, "number").value());
    });
    std::latch together(threads);
    std::vector<std::thread> posters;
    for (int thread = 0; thread < threads; ++thread) {
        posters.emplace_back([this, thread, &together] {
            together.arrive_and_wait();
            for (int number = 0; number < posts; ++number) {
                here.notifications->post("count", Dictionary{{"thread", thread}, {"number", number}}, true);
            }
        });
    }
    for (std::thread& poster : posters) {
        poster.join(); // the loop does not turn meanwhile
    }
    here.settle();
    std::vector<std::int64_t> inOrder(posts);
    for (int number = 0; number < posts; ++number) {
        inOrder[static_cast<std::size_t>(number)] = number;
    }
    EXPECT_EQ(arrived, std::vector(threads, inOrder));
}

TEST_F(Bus, aFailingObserverDoesNotKeepTheNextFromHearing) {
    here.notifications->observe("A", [](const Notification&) { throw std::runtime_error("observer broke"); });
    hear("A");
    ::testing::internal::CaptureStderr();
    here.notifications->post("A", std::nullopt, true);
    here.settle();
    EXPECT_NE(::testing::internal::GetCapturedStderr().find("observer broke"), std::string::npos);
    EXPECT_EQ(heard, (Lines{"none"}));
}

// The connection.

TEST_F(Bus, aNameHasOneOwner) {
    EXPECT_TRUE(here.connection->requestName(bus::agentName));
    EXPECT_TRUE(here.connection->requestName(bus::agentName));
    EXPECT_FALSE(outside.connection->requestName(bus::agentName));
    EXPECT_FALSE(outside.connection->requestName("no name"));
    EXPECT_EQ(outside.connection->ownerOf(bus::agentName), here.connection->uniqueName());
}

TEST_F(Bus, theEndOfTheBusIsToldOnceAndSendingThenFailsQuietly) {
    hear("A");
    int lost = 0;
    here.connection->onLost([&] { ++lost; });
    daemon.end();
    const auto start = steady_clock::now();
    here.notifications->post("A", Dictionary{{"key", 1}}, true); // not noticed yet
    here.turnUntil([&] { return lost > 0; });
    EXPECT_TRUE(here.connection->isLost());
    for (int i = 0; i < 3; ++i) {
        here.notifications->post("A", Dictionary{{"key", 1}}, true);
    }
    hear("B");
    EXPECT_FALSE(here.connection->requestName(bus::agentName));
    EXPECT_EQ(here.events->sendWithoutReply(SignatureTarget{1}, press), platform::procNotFound);
    EXPECT_EQ(here.events->sendWaitingForReply(SignatureTarget{1}, press).status, platform::procNotFound);
    int turns = 0;
    here.turnUntil([&] { return ++turns == 5; });
    EXPECT_EQ(lost, 1);
    EXPECT_EQ(heard, Lines());
    EXPECT_LT(since(start), milliseconds(2000));
}

TEST_F(Bus, aPostingConnectionThatTheDaemonDropsIsMadeAnew) {
    hear("A");
    here.connection->send([](sd_bus* connection) {
        const int unfinished = 0x6C; // the first bytes of a message, and nonsense after it
        EXPECT_EQ(::send(sd_bus_get_fd(connection), &unfinished, sizeof unfinished, MSG_NOSIGNAL),
                  static_cast<ssize_t>(sizeof unfinished));
        shutdown(sd_bus_get_fd(connection), SHUT_RDWR);
        return 0;
    });
    here.notifications->post("A", std::nullopt, true);
    here.settle();
    EXPECT_EQ(heard, (Lines{"none"}));
}

TEST_F(Bus, withoutABusThereIsAnErrorToRead) {
    for (const char* address : {"", "nonsense", "unix:path=/nowhere/at/all"}) {
        setenv("DBUS_SESSION_BUS_ADDRESS", address, 1);
        setenv("XDG_RUNTIME_DIR", "/nowhere", 1);
        std::string error;
        EXPECT_EQ(platform::BusConnection::open(here.loop, error), nullptr) << address;
        EXPECT_NE(error.find("bus"), std::string::npos);
    }
}

// Apple Events.

TEST_F(Bus, absentTargetsAreReportedAtOnce) {
    pid_t gone = 0;
    {
        const IdleChild child;
        gone = child.processID();
    }
    const auto start = steady_clock::now();
    EXPECT_EQ(here.events->sendWithoutReply(SignatureTarget{1}, press), platform::procNotFound);
    EXPECT_EQ(here.events->sendWithoutReply(ProcessTarget{gone}, press), platform::procNotFound);
    EXPECT_EQ(here.events->sendWithoutReply(ProcessTarget{-1}, press), platform::procNotFound);
    EXPECT_EQ(here.events->sendWaitingForReply(ProcessTarget{0}, press).status, platform::procNotFound);
    EXPECT_LT(since(start), milliseconds(2000));
}

TEST_F(Bus, eventsForAProcessJustLaunchedWaitUntilItTakesThem) {
    const AppleEvent second{press.eventClass, 2, {}};
    const AppleEvent asked{press.eventClass, 3, {}};
    std::vector<std::uint32_t> taken;
    for (const AppleEvent& event : {press, second, asked}) {
        outside.events->setEventHandler(
            event.eventClass, event.eventID,
            [&](const AppleEvent& arrived, AppleEvent&) { taken.push_back(arrived.eventID); });
    }
    const auto start = steady_clock::now();
    const IdleChild early;
    EXPECT_EQ(here.events->sendWithoutReply(ProcessTarget{early.processID()}, press), 0);
    EXPECT_EQ(here.events->sendWithoutReply(ProcessTarget{early.processID()}, second), 0);
    EXPECT_LT(since(start), milliseconds(5000)) << "nobody waits";
    here.settle();
    outside.connection->requestName(bus::processName(early.processID()));
    here.settle();
    here.settle();
    outside.turnUntil([&] { return taken.size() == 2; });

    // A name that is there before anybody looks, and an event that wants an answer.
    BusParty sender;
    const IdleChild late;
    EXPECT_EQ(sender.events->sendWithoutReply(ProcessTarget{late.processID()}, press), 0);
    outside.connection->requestName(bus::processName(late.processID()));
    EXPECT_EQ(sender.events->sendWithoutReply(ProcessTarget{late.processID()}, second), 0);
    std::thread asker([&] {
        EXPECT_EQ(sender.events->sendWaitingForReply(ProcessTarget{late.processID()}, asked).status, 0);
    });
    outside.turnUntil([&] { return taken.size() == 5; });
    asker.join();
    outside.settle({&sender});
    EXPECT_EQ(taken, (std::vector<std::uint32_t>{press.eventID, 2, press.eventID, 2, 3}));
}

TEST_F(Bus, eventsWaitNoLongerThanTheirProcessAndTheTimeOut) {
    outside.events->setEventHandler(press.eventClass, press.eventID,
                                    [](const AppleEvent&, AppleEvent&) { ADD_FAILURE() << "long dropped"; });
    platform::BusAppleEvents impatient(*here.connection, milliseconds(80));
    const IdleChild idle;
    const IdleChild ended;
    EXPECT_EQ(impatient.sendWithoutReply(ProcessTarget{idle.processID()}, press), 0);
    EXPECT_EQ(here.events->sendWithoutReply(ProcessTarget{ended.processID()}, press), 0);
    ended.end();
    const auto start = steady_clock::now();
    here.turnUntil([&] { return since(start) > milliseconds(120); });
    EXPECT_EQ(impatient.sendWithoutReply(ProcessTarget{idle.processID()}, press), platform::procNotFound);
    EXPECT_EQ(here.events->sendWithoutReply(ProcessTarget{ended.processID()}, press), platform::procNotFound);
    outside.connection->requestName(bus::processName(idle.processID()));
    outside.connection->requestName(bus::processName(ended.processID()));
    here.settle();
    here.settle();
    outside.settle({&here});
}

TEST_F(Bus, anEventToItselfDoesNotHang) {
    int taken = 0;
    here.connection->requestName(bus::signatureName(ourSignature));
    here.events->setEventHandler(press.eventClass, press.eventID, [&](const AppleEvent&, AppleEvent& reply) {
        reply.parameters.push_back({static_cast<std::uint32_t>(++taken), 0, {}});
    });
    const AppleEventReply first = here.events->sendWaitingForReply(SignatureTarget{ourSignature}, press);
    EXPECT_EQ(first.status, 0);
    EXPECT_NE(first.event.parameter(1), nullptr);
    EXPECT_EQ(here.events->sendWaitingForReply(ProcessTarget{getpid()}, press).status, 0);
    EXPECT_EQ(here.events->sendWithoutReply(ProcessTarget{getpid()}, press), 0);
    EXPECT_EQ(taken, 2);
    here.turnUntil([&] { return taken == 3; });
    const AppleEvent unknown{1, 2, {}};
    EXPECT_EQ(here.events->sendWaitingForReply(ProcessTarget{getpid()}, unknown).status,
              platform::errAEEventNotHandled);
}

TEST_F(Bus, aTargetThatDoesNotAnswerTimesOut) {
    here.connection->requestName(bus::signatureName(ourSignature));
    platform::BusAppleEvents impatient(*outside.connection, milliseconds(60));
    EXPECT_EQ(impatient.sendWaitingForReply(SignatureTarget{ourSignature}, press).status,
              platform::errAETimeout);
}

TEST_F(Bus, aSenderThatGivesUpIsNotHeldBack) {
    here.connection->requestName(bus::signatureName(ourSignature));
    int asked = 0;
    const auto start = steady_clock::now();
    EXPECT_EQ(
        outside.events->sendUnlessGivenUp(SignatureTarget{ourSignature}, press, [&] { return ++asked == 2; })
            .status,
        platform::errAETimeout);
    EXPECT_LT(since(start), milliseconds(5000));
}

TEST_F(Bus, nobodyIsWaitedForWhenTheProgramEnds) {
    outside.loop.stop(0);
    here.connection->requestName(bus::signatureName(ourSignature));
    const auto start = steady_clock::now();
    EXPECT_EQ(outside.events->sendWaitingForReply(SignatureTarget{ourSignature}, press).status,
              platform::errAETimeout);
    const IdleChild child;
    EXPECT_EQ(outside.events->sendWaitingForReply(ProcessTarget{child.processID()}, press).status,
              platform::procNotFound);
    EXPECT_LT(since(start), milliseconds(5000));
}

TEST_F(Bus, callsThatCannotBeReadAndHandlersThatFailAreAnsweredWithErrors) {
    here.connection->requestName(bus::agentName);
    here.events->setEventHandler(press.eventClass, press.eventID, [](const AppleEvent&, AppleEvent&) {
        throw std::runtime_error("handler broke");
    });
    Lines answers;
    ::testing::internal::CaptureStderr();
    std::thread caller([&] {
        const platform::BusPointer connection = outside.connection->connect();
        const auto call = [&](const char* method, const char* types, auto... values) {
            sd_bus_error error = SD_BUS_ERROR_NULL;
            sd_bus_call_method(connection.get(), bus::agentName, bus::appleEventsPath,
                               bus::appleEventsInterface, method, &error, nullptr, types, values...);
            answers.emplace_back(error.name == nullptr ? "" : error.name);
            sd_bus_error_free(&error);
        };
        call("Send", "uua(uuay)", press.eventClass, press.eventID, 0);
        call("Send", "uua(uuay)", 1, 2, 0);
        call("Send", "uus", 1, 2, "parameters");
        call("Send", "");
        call("Sned", "");
        here.loop.stop(0);
    });
    here.loop.run();
    caller.join();
    ::testing::internal::GetCapturedStderr();
    EXPECT_EQ(answers, (Lines{bus::notHandledError, bus::notHandledError, SD_BUS_ERROR_INVALID_ARGS,
                              SD_BUS_ERROR_INVALID_ARGS, SD_BUS_ERROR_UNKNOWN_METHOD}));
}

// The loop and the clock.

TEST(LinuxRunLoop, aHandlerThatFailsDoesNotEndTheLoop) {
    platform::LinuxRunLoop loop;
    ::testing::internal::CaptureStderr();
    loop.addRepeatingTimer(0.001, [] { throw std::runtime_error("timer broke"); });
    loop.performOnMainThread([] { throw 7; });
    loop.addRepeatingTimer(0.02, [&] { loop.stop(5); });
    EXPECT_EQ(loop.run(), 5);
    const std::string written = ::testing::internal::GetCapturedStderr();
    EXPECT_NE(written.find("timer broke"), std::string::npos);
    EXPECT_NE(written.find("unknown exception"), std::string::npos);
}

TEST(LinuxRunLoop, signalsAndStopsFromOtherThreadsEndItInOrder) {
    platform::LinuxRunLoop loop;
    Lines order;
    loop.onSignal(SIGTERM, [&] {
        order.emplace_back("terminate");
        loop.stop(3);
    });
    loop.performOnMainThread([&] {
        kill(getpid(), SIGTERM);
        order.emplace_back("work");
    });
    EXPECT_EQ(loop.run(), 3);
    EXPECT_EQ(order, (Lines{"work", "terminate"}));
    std::thread stopper([&] { loop.stop(4); });
    EXPECT_EQ(loop.run(), 4);
    stopper.join();
    loop.stop(6);
    loop.performOnMainThread([] { FAIL() << "the loop was told to stop before it ran"; });
    EXPECT_EQ(loop.run(), 6);
}

/// What a wait on the main thread sees.
bool seesTheEnd(platform::LinuxRunLoop& loop) {
    for (int i = 0; i < 1000 && !loop.isEnding(); ++i) {
        std::this_thread::sleep_for(milliseconds(10));
    }
    return loop.isEnding();
}

TEST(EndWatch, waitsSeeTheSignalAndTheLossOfTheBus) {
    const auto neverByForce = [] { ADD_FAILURE() << "it ended in order"; };
    for (const int signal : {SIGTERM, SIGINT}) {
        platform::LinuxRunLoop loop;
        const platform::EndWatch watch(loop, -1, std::chrono::seconds(60), neverByForce);
        EXPECT_FALSE(loop.isEnding());
        kill(getpid(), signal);
        EXPECT_TRUE(seesTheEnd(loop));
        EXPECT_EQ(loop.run(), EXIT_SUCCESS) << "told to stop before";
        EXPECT_TRUE(loop.isEnding()) << "what is done at the end does not wait either";
    }
    PrivateBus daemon;
    BusParty party;
    const platform::EndWatch watch(party.loop, party.connection->descriptor(), std::chrono::seconds(60),
                                   neverByForce);
    party.connection->ownerOf("com.pelox.none");
    EXPECT_FALSE(party.loop.isEnding());
    daemon.end();
    EXPECT_TRUE(seesTheEnd(party.loop));
}

TEST(EndWatch, endsByForceWhatDoesNotEndInOrder) {
    platform::LinuxRunLoop loop;
    std::latch forced(1);
    const platform::EndWatch watch(loop, -1, milliseconds(30), [&] { forced.count_down(); });
    const auto start = steady_clock::now();
    kill(getpid(), SIGTERM);
    forced.wait();
    EXPECT_GE(since(start), milliseconds(30));
}

TEST(LinuxRunLoop, periodsMissedAreNotMadeUpFor) {
    platform::LinuxRunLoop loop;
    const auto start = steady_clock::now();
    int fired = 0;
    loop.addRepeatingTimer(0.005, [&] {
        if (++fired == 1) {
            std::this_thread::sleep_for(milliseconds(60));
        } else if (fired == 4) {
            loop.stop(0);
        }
    });
    loop.run();
    EXPECT_GE(since(start), milliseconds(79)) << "after 65 ms, the next are due at 70, 75 and 80 ms";
}

TEST(LinuxRunLoop, itSleepsWhileNothingIsDue) {
    platform::LinuxRunLoop loop;
    for (const double seconds : {3600.0, 1e18, std::numeric_limits<double>::infinity()}) {
        loop.addRepeatingTimer(seconds, [] { ADD_FAILURE() << "far too early"; });
    }
    loop.addRepeatingTimer(0.1, [&] { loop.stop(0); });
    rusage before{};
    rusage after{};
    getrusage(RUSAGE_THREAD, &before);
    loop.run();
    getrusage(RUSAGE_THREAD, &after);
    EXPECT_LE(after.ru_nvcsw - before.ru_nvcsw, 5) << "woken up for nothing";
}

TEST(LinuxRunLoop, aPeriodThatIsNoTimeDoesNotStarveTheRest) {
    platform::LinuxRunLoop loop;
    int fired = 0;
    for (const double seconds : {0.0, -1.0, std::numeric_limits<double>::quiet_NaN()}) {
        loop.addRepeatingTimer(seconds, [&] { ++fired; });
    }
    loop.addRepeatingTimer(0.03, [&] { loop.stop(0); });
    loop.run();
    EXPECT_GT(fired, 0);
    EXPECT_LE(fired, 100);
}

TEST(LinuxClock, sleepsTheWholeTimeAndCountsWhatIsUsed) {
    platform::LinuxClock clock;
    const double start = clock.monotonicSeconds();
    const std::int64_t used = clock.processorTime();
    clock.sleepMicroseconds(20000);
    clock.sleepMicroseconds(-5);
    clock.sleepMicroseconds(0);
    EXPECT_GE(clock.monotonicSeconds() - start, 0.02);
    EXPECT_LT(clock.processorTime() - used, 15000);
    while (clock.processorTime() - used < 20000) {
    }
    EXPECT_GE(clock.monotonicSeconds() - start, 0.025);
    EXPECT_LE(std::abs(clock.wallTime().seconds - std::time(nullptr)), 1);
}

} // namespace

} // namespace trigora::test
