#include "runners/launch/TrLaunchApplicationManager.h"

#include "tests/fakes/PlatformTest.h"

#include <filesystem>

namespace trigora {
namespace {

using platform::fourCharCode;
using test::Lines;

constexpr const char* resources = "/Applications/Pelox Software/Trigora.app/Contents/Resources/";
constexpr const char* quitPost = "post! ReplySAQuitDistributedNotification";

class LaunchTest : public test::PlatformTest {
protected:
    LaunchTest() {
        writeFile(assistant, "");
        writeFile(agent, "");
        journal.take();
    }

    const std::string assistant =
        std::string(resources) + "Assistants/Scan Assistant/PScanAssistant.app/Contents/MacOS/PScanAssistant";
    const std::string agent =
        std::string(resources) + "Assistants/Trigora/TrigoraAgent.app/Contents/MacOS/TrigoraAgent";
    std::shared_ptr<TrLaunchApplicationManager> manager =
        TrLaunchApplicationManager::sharedLaunchApplicationManager();
};

TEST_F(LaunchTest, launchesTheExecutableOfABundle) {
    writePropertyList("/Applications/A.app/Contents/Info.plist", Dictionary{{"CFBundleExecutable", "prog"}});
    writeFile("/Applications/A.app/Contents/MacOS/prog", "");
    manager->launchApplicationAtPath("/Applications/A.app", "ignored", {"--twainname", "A B"});
    manager->launchApplicationAtPath("/Applications/None.app", "ignored", {});
    writePropertyList("/Applications/B.app/Contents/Info.plist", Dictionary{{"CFBundleName", "B"}});
    manager->launchApplicationAtPath("/Applications/B.app", "ignored", {});
    EXPECT_EQ(journal.take(), Lines{"launch /Applications/A.app/Contents/MacOS/prog --twainname A B"});
}

TEST_F(LaunchTest, findsProcesses) {
    processes.appear("Other", fourCharCode("APPL"), fourCharCode("abcd"));
    processes.appear("Copy", fourCharCode("APPL"), fourCharCode("pCp5"));
    EXPECT_TRUE(manager->findProcess(fourCharCode("APPL"), fourCharCode("pCp5")));
    EXPECT_FALSE(manager->findProcess(fourCharCode("BNDL"), fourCharCode("pCp5")));
    EXPECT_FALSE(manager->findProcess(fourCharCode("APPL"), fourCharCode("none")));
    EXPECT_TRUE(manager->LAM_IsLaunchApplication("Copy"));
    EXPECT_FALSE(manager->LAM_IsLaunchApplication("copy"));
    EXPECT_FALSE(manager->LAM_IsLaunchApplication("Cop"));
    EXPECT_EQ(manager->LAM_ApplicationActiveTime("none"), 0U);
}

TEST_F(LaunchTest, launchesOrAwakesTheScanAssistant) {
    EXPECT_EQ(manager->launchScanAssistant(), 0);
    EXPECT_EQ(journal.take(), Lines{"launch " + assistant});
    EXPECT_FALSE(manager->isLaunchScanAssistant()) << "not listed yet";
    clock.advanceMicroseconds(500000);
    EXPECT_EQ(manager->launchScanAssistant(), 0);
    EXPECT_EQ(journal.take(), Lines{"post DidFinishLaunchingSADistributedNotification"});
}

TEST_F(LaunchTest, logsThatTheScanAssistantIsMissing) {
    std::filesystem::remove(onDisk(assistant));
    makeFolder("/Users/Shared/PELOX/Button");
    EXPECT_EQ(manager->launchScanAssistant(), -1);
    EXPECT_TRUE(journal.take().empty());
    const Lines lines = console.take();
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_NE(lines[0].find("] -[TrLaunchApplicationManager launchScanAssistant] Enter [Line "),
              std::string::npos);
    EXPECT_NE(lines[1].find("-[TrLaunchApplicationManager launchScanAssistant] Leave [Line "),
              std::string::npos);
    EXPECT_NE(lines[1].find("] result_OSErr = -1"), std::string::npos);
}

TEST_F(LaunchTest, givesTheScanAssistantTwoSeconds) {
    const double start = clock.monotonicSeconds();
    EXPECT_TRUE(manager->launchScanAssistantWithWait());
    EXPECT_NEAR(clock.monotonicSeconds() - start, 2.0, 0.011);
    EXPECT_EQ(journal.take(), Lines{"launch " + assistant});

    EXPECT_TRUE(manager->launchScanAssistantWithWait());
    EXPECT_NEAR(clock.monotonicSeconds() - start, 2.0, 0.011);
    EXPECT_TRUE(journal.take().empty());

    processes.exit("PScanAssistant");
    processes.launches = false;
    EXPECT_FALSE(manager->launchScanAssistantWithWait());
    EXPECT_NEAR(clock.monotonicSeconds() - start, 4.0, 0.021);

    std::filesystem::remove(onDisk(assistant));
    EXPECT_FALSE(manager->launchScanAssistantWithWait());
    EXPECT_NEAR(clock.monotonicSeconds() - start, 4.0, 0.021);
}

TEST_F(LaunchTest, waitsWhileTheNewScanAssistantIsSeen) {
    processes.onLaunch = [&](const auto&, const auto&) { processes.appear("PScanAssistant"); };
    processes.hidesLaunches = false;
    const double start = clock.monotonicSeconds();
    clock.onSleep = [&] {
        if (clock.monotonicSeconds() - start < 3.5 && clock.monotonicSeconds() - start > 2.5) {
            processes.exit("PScanAssistant");
        }
    };
    EXPECT_FALSE(manager->launchScanAssistantWithWait());
    EXPECT_NEAR(clock.monotonicSeconds() - start, 5.0, 0.011);
}

TEST_F(LaunchTest, asksTheScanAssistantToQuitUntilItHasGone) {
    manager->terminateScanAssistantWithWait();
    EXPECT_TRUE(journal.take().empty());
    manager->terminateScanAssistant();
    EXPECT_EQ(journal.take(), Lines{quitPost});

    processes.appear("PScanAssistant");
    const double start = clock.monotonicSeconds();
    clock.onSleep = [&] {
        if (clock.monotonicSeconds() - start > 0.25) {
            processes.exit("PScanAssistant");
        }
    };
    manager->terminateScanAssistantWithWait();
    EXPECT_EQ(journal.take(), (Lines{quitPost, quitPost, quitPost, quitPost}));
    EXPECT_NEAR(clock.monotonicSeconds() - start, 0.3, 1e-6);
}

TEST_F(LaunchTest, waitsNoLongerWhenTheProgramEnds) {
    const auto secondsOf = [&](const std::function<void()>& wait) {
        loop.run(); // which is told to stop during the wait
        const double start = clock.monotonicSeconds();
        clock.onSleep = [&, start] {
            if (clock.monotonicSeconds() - start > 0.9) {
                loop.stop(0);
            }
            if (clock.monotonicSeconds() - start > 100) {
                processes.exit("PScanAssistant");
            }
        };
        wait();
        return clock.monotonicSeconds() - start;
    };
    EXPECT_LT(secondsOf([&] { manager->launchScanAssistantWithWait(); }), 1.5) << "it comes up";
    EXPECT_LT(secondsOf([&] { manager->terminateScanAssistantWithWait(); }), 1.5) << "it does not quit";
    processes.exit("PScanAssistant");
    processes.onLaunch = [&](const auto&, const auto&) { processes.appear("PScanAssistant"); };
    EXPECT_LT(secondsOf([&] { manager->launchScanAssistantWithWait(); }), 1.5) << "it is there at once";
}

TEST_F(LaunchTest, launchesTheAgentOnce) {
    EXPECT_EQ(manager->launchTrigoraAgent(), 0);
    EXPECT_EQ(journal.take(), Lines{"launch " + agent});
    EXPECT_FALSE(manager->LAM_IsLaunchApplication("TrigoraAgent")) << "not listed yet";
    clock.advanceMicroseconds(500000);
    EXPECT_EQ(manager->launchTrigoraAgent(), -1);
    processes.exit("TrigoraAgent");
    std::filesystem::remove(onDisk(agent));
    EXPECT_EQ(manager->launchTrigoraAgent(), -1);
    EXPECT_TRUE(journal.take().empty());
}

TEST_F(LaunchTest, registersOneLoginItemOnOldSystems) {
    manager->loginTrigoraAgent();
    EXPECT_TRUE(userDefaults.domains.empty());

    systemInformation.version = 0x105F;
    const Value mine =
        Dictionary{{"Path", std::string(resources) + "Assistants/Trigora/TrigoraAgent.app"}, {"Hide", false}};
    manager->loginTrigoraAgent();
    manager->loginTrigoraAgent();
    const char* key = "AutoLaunchedApplicationDictionary";
    EXPECT_EQ(userDefaults.domains, (Dictionary{{"loginwindow", Dictionary{{key, Array{mine}}}}}));

    const Dictionary others{{"Other", 1}, {key, Array{"odd", Dictionary{{"Path", "/other"}}}}};
    userDefaults.domains = {{"loginwindow", others}};
    manager->loginTrigoraAgent();
    EXPECT_EQ(
        userDefaults.domains,
        (Dictionary{{"loginwindow",
                     Dictionary{{"Other", 1}, {key, Array{"odd", Dictionary{{"Path", "/other"}}, mine}}}}}));

    const Dictionary foreign{{"loginwindow", Dictionary{{key, "not a list"}}}};
    userDefaults.domains = foreign;
    manager->loginTrigoraAgent();
    EXPECT_EQ(userDefaults.domains, foreign);
}

} // namespace
} // namespace trigora
