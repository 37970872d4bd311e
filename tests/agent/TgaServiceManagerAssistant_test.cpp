// What becomes of a press or a run when the scan assistant exits without an answer.

#include "projects/manager/TrProjectManager.h"
#include "tests/agent/InstalledScannerTest.h"

namespace trigora {
namespace {

using test::Lines;

class TgaServiceManagerAssistantTest : public test::InstalledScannerTest {
protected:
    const std::string finished = "post ScanEventDidFinishNotification";
    const std::string launchedAssistant = "launch " + paths::scanAssistantExecutable();

    TgaServiceManagerAssistantTest() { installEvent("101"); }

    bool isRunning() { return TrProjectManager::isProjectRunning(); }

    /// The assistant crashes, and the agent has had time to notice.
    void crash() {
        processes.exit("PScanAssistant");
        loop.advance(1);
    }

    void pressAndRun() {
        press("XY-1", "D1", 1);
        confirm("D1", 0x123);
        ASSERT_TRUE(isRunning());
    }
};

TEST_F(TgaServiceManagerAssistantTest, EndsTheRunThatACrashLeavesBehind) {
    start();
    pressAndRun();
    journal.take();
    crash();
    EXPECT_EQ(journal.take(), Lines{finished});
    EXPECT_FALSE(isRunning());

    // The next press is a new one, not the end of the run before.
    pressAndRun();
    confirm("D1", 0x123);
    EXPECT_TRUE(launched);
}

TEST_F(TgaServiceManagerAssistantTest, APressRightAfterTheCrashIsANewOne) {
    start();
    pressAndRun();
    processes.exit("PScanAssistant");
    journal.take();
    press("XY-1", "D1", 1);
    EXPECT_EQ(journal.take(), (Lines{finished, launchedAssistant, confirmationRequested[0]}));
    loop.advance(1);
    confirm("D1", 0x123);
    EXPECT_TRUE(isRunning());
    EXPECT_FALSE(launched);
}

TEST_F(TgaServiceManagerAssistantTest, PutsAWaitingPressToANewAssistantOnce) {
    start();
    press("XY-1", "D1", 1);
    journal.take();
    crash();
    EXPECT_EQ(journal.take(), (Lines{launchedAssistant, confirmationRequested[0]}));
    crash();
    EXPECT_EQ(journal.take(), Lines{finished});
    crash();
    EXPECT_EQ(journal.take(), Lines{});

    journal.take();
    pressAndRun();
}

TEST_F(TgaServiceManagerAssistantTest, PutsNoOldOrReplacedPressToANewAssistant) {
    start();
    press("XY-1", "D1", 1);
    loop.advance(3600);
    journal.take();
    crash();
    EXPECT_EQ(journal.take(), Lines{finished}) << "the user has gone";

    press("XY-1", "D1", 1);
    journal.take();
    const Dictionary later{{"driverName", "D2"}};
    service->setCurrentEvent(later); // by a network scanner
    crash();
    EXPECT_EQ(journal.take(), Lines{});
    EXPECT_EQ(service->currentEvent(), later);
}

TEST_F(TgaServiceManagerAssistantTest, AsksAnAssistantThatComesUpLateAgain) {
    start();
    appleEvents.isAnybodyPresent = false;
    press("XY-1", "D1", 1);
    journal.take();
    loop.advance(5);
    EXPECT_EQ(journal.take(), Lines{});
    appleEvents.isAnybodyPresent = true;
    loop.advance(5);
    EXPECT_EQ(journal.take(), Lines{confirmationRequested[0]}) << "once";
    confirm("D1", 0x123);
    EXPECT_TRUE(isRunning());

    appleEvents.isAnybodyPresent = false;
    crash();
    processes.launches = false;
    press("XY-1", "D1", 1);
    journal.take();
    loop.advance(3600);
    EXPECT_EQ(journal.take(), Lines{finished}) << "it never comes";
}

TEST_F(TgaServiceManagerAssistantTest, HearsTheLastWordsBeforeItTidiesUp) {
    start();
    press("XY-1", "D1", 1);
    journal.take();
    processes.exit("PScanAssistant");
    loop.runPending();
    confirm("D1", 0x123, -1); // was on its way when the assistant ended
    loop.advance(1);
    EXPECT_EQ(journal.take(), failed);
}

} // namespace
} // namespace trigora
