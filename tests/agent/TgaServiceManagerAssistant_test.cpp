// What becomes of a press or a run when the scan assistant comes up late or not at all, exits without an
// answer, or gives an answer that is for another.

#include "files/PxIniParser.h"
#include "projects/manager/TrProjectManager.h"
#include "tests/agent/InstalledScannerTest.h"

namespace trigora {
namespace {

class TgaServiceManagerAssistantTest : public test::InstalledScannerTest {
protected:
    TgaServiceManagerAssistantTest() {
        writeFile(paths::predefinedProjectFolder() + "/600.plg",
                  "[Launch]\nProjectID=600\nShow=0x0010\nProjectType=0x8001\nActionID=A1\n");
        installEvent("101", "600"); // scans
        installEvent("102");        // launches an application when the scanner is confirmed
        start();
    }

    static bool isRunning() { return TrProjectManager::isProjectRunning(); }

    /// What went out since the last call, in one word each. Requests to quit that are repeated count once.
    std::string done() {
        const std::pair<const char*, const char*> words[] = {
            {"launch ", "launch"},
            {"post! ReplyScannerConfirmation", "ask"},
            {"post! ReplyScanDistributed", "scan"},
            {"post! ReplyLaunchPlScan", "application"},
            {"post! ReplySAQuit", "quit"},
            {"post ScanEventDidFinish", "end"},
            {"open ", "open"},
        };
        std::string all;
        std::string last;
        for (const std::string& line : journal.take()) {
            std::string word = line;
            for (const auto& [beginning, meant] : words) {
                word = line.starts_with(beginning) ? meant : word;
            }
            if (word != "quit" || word != last) {
                all += (all.empty() ? "" : " ") + word;
            }
            last = word;
        }
        return all;
    }

    void press(const std::string& driver = "D1", std::uint32_t button = 1) {
        InstalledScannerTest::press("XY-1", driver, button);
    }
    void confirm(std::int64_t result = 0, const std::string& driver = "D1") {
        InstalledScannerTest::confirm(driver, 0x123, result);
    }
    void refuse() {
        notifications.receive("DidFinishScannerConfirmationDistributedNotification",
                              Dictionary{{"ScannerConfirmResult", -1}});
    }
    void finishScan() {
        notifications.receive("DidFinishScanDistributedNotification",
                              Dictionary{{"ScanResult", Array{"/scans/1.pdf"}}});
    }
    /// The assistant crashes, and the agent has had time to notice.
    void crash() {
        processes.exit("PScanAssistant");
        loop.advance(1);
    }
    void startTestScan(const std::string& type = "0x0001", bool hasProject = true) {
        writeFile("/Users/Shared/Test.plg",
                  "[Launch]\nProjectID=701\nProjectType=" + type + "\nActionID=A1\n");
        PxIniParser::sharedParser()->removeAllItems();
        notifications.receive(
            "TestScannningWillStartNotification",
            Dictionary{{"TestScanDriverInfo", Dictionary{{"DriverInfoDrivername", "D1"}}},
                       {"TestScanDeviceInfo", Dictionary{{"DeviceInfoModelID", 7}}},
                       {hasProject ? "TestScanProjectFilePath" : "none", "/Users/Shared/Test.plg"},
                       {"TestScanScanSettings", Dictionary{{"folderPath", "/scans"}}},
                       {"TestScanEventID", "101"}});
    }
    void expectAPressWorks() {
        loop.advance(1);
        done();
        console.take();
        press();
        confirm();
        finishScan();
        const std::string all = done();
        EXPECT_TRUE(all.ends_with("ask scan open quit end")) << all;
        loop.advance(120);
        EXPECT_EQ(done(), "");
    }
};

TEST_F(TgaServiceManagerAssistantTest, EndsTheRunThatACrashLeavesBehind) {
    press();
    confirm();
    EXPECT_EQ(done(), "ask scan");
    crash();
    EXPECT_EQ(done(), "end");
    EXPECT_FALSE(isRunning());
    expectAPressWorks();

    press();
    confirm();
    done();
    processes.exit("PScanAssistant");
    press(); // at once
    EXPECT_EQ(done(), "end launch ask");
    loop.advance(1);
    confirm();
    EXPECT_EQ(done(), "scan");
    EXPECT_TRUE(isRunning());
}

TEST_F(TgaServiceManagerAssistantTest, PutsAWaitingPressToANewAssistantOnceWithinAMinute) {
    for (const double age : {0.0, 59.5}) {
        press();
        done();
        loop.advance(age);
        crash();
        EXPECT_EQ(done(), "launch ask") << age;
        crash();
        EXPECT_EQ(done(), "end") << age;
        crash();
        EXPECT_EQ(done(), "") << age;
    }
    press();
    done();
    loop.advance(60);
    console.take();
    crash();
    EXPECT_EQ(done(), "end") << "the user has gone";
    const test::Lines told = console.take();
    ASSERT_EQ(told.size(), 1U);
    EXPECT_NE(told[0].find("a press on D1 comes to nothing: "), std::string::npos) << told[0];
    expectAPressWorks();
}

TEST_F(TgaServiceManagerAssistantTest, PutsNoReplacedPressToANewAssistant) {
    press();
    done();
    const Dictionary later{{"driverName", "D2"}};
    service->setCurrentEvent(later); // by a network scanner
    crash();
    EXPECT_EQ(done(), "");
    EXPECT_EQ(service->currentPress().event, later);
}

TEST_F(TgaServiceManagerAssistantTest, RepeatsAPressWhoseAssistantDoesNotComeUp) {
    processes.exit("PScanAssistant");
    processes.launches = false;
    press();
    EXPECT_EQ(done(), "launch ask");
    console.take();
    loop.advance(5);
    EXPECT_EQ(done(), "launch end");
    EXPECT_EQ(console.take().size(), 1U);

    press();
    processes.launches = true;
    loop.advance(5);
    EXPECT_EQ(done(), "launch ask launch ask");
    confirm();
    EXPECT_EQ(done(), "scan");
    EXPECT_TRUE(isRunning());
}

TEST_F(TgaServiceManagerAssistantTest, AsksAnAssistantThatComesUpLateAgain) {
    appleEvents.isAnybodyPresent = false;
    press();
    loop.advance(5);
    EXPECT_EQ(done(), "ask");
    appleEvents.isAnybodyPresent = true;
    loop.advance(5);
    EXPECT_EQ(done(), "ask") << "once";
    confirm();
    confirm(); // it had heard the first request, too
    confirm(-1);
    EXPECT_EQ(done(), "scan");
    finishScan();
    EXPECT_EQ(done(), "open quit end");
}

TEST_F(TgaServiceManagerAssistantTest, WorksWithAnAssistantThatTakesNoName) {
    appleEvents.isAnybodyPresent = false;
    for (const double seconds : {1.0, 3600.0}) {
        press();
        loop.advance(seconds);
        EXPECT_EQ(done(), seconds > 1 ? "launch ask" : "ask");
        EXPECT_EQ(loop.timerCount(), seconds > 60 ? 0U : 1U) << "looks for its name for a minute";
        confirm();
        EXPECT_EQ(done(), "scan");
        finishScan();
        EXPECT_EQ(done(), "open quit end");
        loop.advance(1);
    }
}

TEST_F(TgaServiceManagerAssistantTest, HearsTheLastWordsBeforeItTidiesUp) {
    press();
    done();
    processes.exit("PScanAssistant");
    loop.runPending();
    refuse(); // was on its way when the assistant ended
    loop.advance(1);
    EXPECT_EQ(done(), "quit end");
}

TEST_F(TgaServiceManagerAssistantTest, MakesASecondDocumentOfAPressDuringAScan) {
    const auto scanFirst = [this] {
        press();
        confirm();
        press();
        EXPECT_EQ(done(), "ask scan ask");
    };
    const auto expectSecondDocument = [this](const char* what) {
        EXPECT_EQ(done(), "launch ask") << what;
        confirm();
        finishScan();
        EXPECT_EQ(done(), "scan open quit end") << what;
        loop.advance(1);
        EXPECT_EQ(done(), "") << what;
        processes.appear("PScanAssistant");
    };
    scanFirst();
    finishScan(); // which has the assistant quit
    EXPECT_EQ(done(), "open quit end");
    loop.advance(1);
    expectSecondDocument("not answered");

    scanFirst();
    finishScan();
    EXPECT_EQ(done(), "open quit end");
    confirm(); // given just before the assistant quit
    loop.advance(1);
    expectSecondDocument("answered after the scan");

    scanFirst();
    confirm();
    EXPECT_EQ(done(), "") << "the scan goes on";
    finishScan();
    EXPECT_EQ(done(), "open quit end");
    loop.advance(1);
    expectSecondDocument("answered during the scan");

    scanFirst();
    crash();
    EXPECT_EQ(done(), "end launch ask") << "with the assistant the first is over";
    processes.exit("PScanAssistant");
    confirm();
    EXPECT_EQ(done(), "end") << "repeated already";
    EXPECT_EQ(console.take().size(), 1U);
    expectAPressWorks();
}

TEST_F(TgaServiceManagerAssistantTest, LetsATestScanGoBeforeAPressThatWaits) {
    appleEvents.isAnybodyPresent = false;
    press();
    done();
    startTestScan();
    appleEvents.isAnybodyPresent = true;
    EXPECT_EQ(done(), "quit launch scan");
    confirm(); // by the assistant that had to quit
    loop.advance(5);
    EXPECT_EQ(done(), "");
    finishScan();
    EXPECT_EQ(done(), "open quit end");
    loop.advance(5);
    EXPECT_EQ(done(), "launch ask");
    confirm();
    EXPECT_EQ(done(), "scan");

    startTestScan();
    EXPECT_EQ(done(), "quit end launch scan") << "a scan that runs is over";
    press();
    done();
    startTestScan("0x0002");
    EXPECT_EQ(done(), "quit end launch ask");
    loop.advance(5);
    confirm();
    loop.advance(1);
    EXPECT_EQ(done(), "ask") << "the assistant has not quit";
    startTestScan("0x0001", false);
    EXPECT_EQ(done(), "quit launch end");
    loop.advance(1);
    EXPECT_EQ(done(), "end") << "repeated already";

    press();
    done();
    startTestScan("0x0001", false);
    EXPECT_EQ(done(), "quit launch end");
    loop.advance(1);
    EXPECT_EQ(done(), "ask") << "the test scan did not start";
    confirm();
    EXPECT_EQ(done(), "scan");
}

TEST_F(TgaServiceManagerAssistantTest, TakesNoAnswerForAnothers) {
    press("D1");
    press("D2", 2);
    done();
    refuse(); // for D1
    EXPECT_EQ(done(), "");
    confirm(0, "D2");
    confirm(0, "D2");
    EXPECT_EQ(done(), "ask application");
    expectAPressWorks();

    // The press that is replaced is on the same scanner, and only one of the two is answered.
    press("D1");
    press("D1", 2);
    done();
    refuse();
    EXPECT_EQ(done(), "quit end");
    refuse(); // this assistant answers both, late
    EXPECT_EQ(done(), "") << "no second end";
    expectAPressWorks();

    // An assistant that an agent before this one has asked.
    service.reset();
    platform::releaseShared<TgaServiceManager>();
    processes.appear("PScanAssistant");
    loop.advance(1);
    start();
    press();
    confirm(); // to the other agent
    confirm(); // to this one
    EXPECT_EQ(done(), "ask scan");
    finishScan();
    EXPECT_EQ(done(), "open quit end");
    expectAPressWorks();

    platform::releaseShared<TgaServiceManager>();
    service.reset();
    processes.appear("PScanAssistant");
    loop.advance(1);
    start();
    press();
    refuse();
    EXPECT_EQ(done(), "ask quit end");
    refuse();
    EXPECT_EQ(done(), "") << "no second end";
}

} // namespace
} // namespace trigora
