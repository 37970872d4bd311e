#include "agent/delegate/TgaApplicationDelegate.h"
#include "tests/agent/ScanEventBytes.h"
#include "tests/fakes/PlatformTest.h"

#include <stdexcept>

namespace trigora {
namespace {

using test::Lines;

class TgaApplicationDelegateTest : public test::PlatformTest {
protected:
    std::function<void()> note(const std::string& line) {
        return [this, line] { journal.add(line); };
    }
};

TEST_F(TgaApplicationDelegateTest, DrivesTheSourcesInTheirOrder) {
    TgaApplicationDelegate delegate({
        {"network", note("read network settings"), note("stop network"), note("read network settings")},
        {"broken", [] { throw std::runtime_error("broken"); }, [] { throw 1; }, {}},
        {"USB", note("register USB"), {}, {}},
        {"button manager", note("start buttons"), note("stop buttons"), {}},
    });
    delegate.applicationDidFinishLaunching();
    EXPECT_EQ(journal.take(), (Lines{"read network settings", "register USB", "start buttons"}));
    notifications.receive("NetworkSettingsDidChangeNotification", Dictionary{{"any", "thing"}});
    EXPECT_EQ(journal.take(), Lines{"read network settings"});
    delegate.applicationWillTerminate();
    EXPECT_EQ(journal.take(), (Lines{"stop network", "stop buttons"}));
}

TEST_F(TgaApplicationDelegateTest, TakesButtonEventsBeforeTheSourcesStart) {
    const auto press = [this] {
        return appleEvents.receive(test::scanButtonEvent(test::scanEventBytes("XY-1", "D1", 1))).status;
    };
    std::int32_t statusAtStart = -1;
    TgaApplicationDelegate delegate({{"first", [&] { statusAtStart = press(); }, {}, {}}});
    EXPECT_EQ(press(), platform::errAEEventNotHandled);
    delegate.applicationDidFinishLaunching();
    EXPECT_EQ(statusAtStart, 0);
}

TEST_F(TgaApplicationDelegateTest, StartsWhatCanBeStarted) {
    TgaApplicationDelegate delegate({{"source", note("start source"), {}, note("read settings")}});
    appleEvents.isBroken = true;
    delegate.applicationDidFinishLaunching();
    notifications.receive("DidFinishScanDistributedNotification");
    EXPECT_EQ(journal.take(), (Lines{"start source", "post ScanEventDidFinishNotification"}));

    notifications.isBroken = true;
    delegate.applicationDidFinishLaunching();
    EXPECT_EQ(journal.take(), Lines{"start source"});
}

} // namespace
} // namespace trigora
