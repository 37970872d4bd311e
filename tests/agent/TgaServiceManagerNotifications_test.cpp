// What the other applications report: scans that end, test scans, driver names and changed settings.

#include "files/PxIniParser.h"
#include "files/TrFilePathUtility.h"
#include "projects/manager/TrProjectManager.h"
#include "runners/actions/TgaActionRunner.h"
#include "runners/actions/TgaActionRunnerManager.h"
#include "tests/agent/InstalledScannerTest.h"

#include <new>

namespace trigora {
namespace {

using test::Lines;

class TgaServiceManagerNotificationsTest : public test::InstalledScannerTest {
protected:
    const Lines scanEnded{"post! ReplySAQuitDistributedNotification",
                          "post! ReplySAQuitDistributedNotification", "post ScanEventDidFinishNotification"};

    static constexpr const char* projectPath = "/Users/Shared/Test.plg";

    /// A project that only launches the viewer, for the given files.
    void installLauncherProject() {
        writeFile(paths::predefinedProjectFolder() + "/600.plg",
                  "[Launch]\nProjectID=600\nShow=0x0010\nProjectType=0x8001\nActionID=A1\n");
        installEvent("101", "600");
    }

    void startScan() {
        loop.advance(1); // after the scan before this one
        processes.appear("PScanAssistant");
        press("XY-1", "D1", 1);
        confirm("D1", 0x123);
        journal.take();
    }
};

TEST_F(TgaServiceManagerNotificationsTest, EndsTheScanWhateverItGave) {
    installLauncherProject();
    start();
    const Lines opened{"open /scans/1.pdf with /Applications/Viewer.app"};
    struct Case {
        const char* what;
        std::optional<Dictionary> answer;
        bool isOpened;
    };
    const Case cases[] = {
        {"files", Dictionary{{"ScanResult", Array{"/scans/1.pdf"}}}, true},
        {"nothing scanned", Dictionary{}, false},
        {"no user information", std::nullopt, false},
        {"no list", Dictionary{{"ScanResult", "/scans/1.pdf"}}, false},
    };
    for (const Case& c : cases) {
        startScan();
        EXPECT_TRUE(TrProjectManager::isProjectRunning()) << c.what;
        notifications.receive("DidFinishScanDistributedNotification", c.answer);
        Lines expected = c.isOpened ? opened : Lines{};
        expected.insert(expected.end(), scanEnded.begin() + 1, scanEnded.end());
        EXPECT_EQ(journal.take(), expected) << c.what;
        EXPECT_FALSE(TrProjectManager::isProjectRunning()) << c.what;
        // The runner is gone: the same report again opens nothing.
        notifications.receive("DidFinishScanDistributedNotification", cases[0].answer);
        EXPECT_EQ(journal.take(), Lines{"post ScanEventDidFinishNotification"}) << c.what;
    }
}

/// Fails as one does for which there is no memory left.
class FailingRunner final : public TgaActionRunner {
public:
    std::int32_t performAction() override { throw std::bad_alloc(); }
};

TEST_F(TgaServiceManagerNotificationsTest, EndsTheScanWhenItsActionFails) {
    installLauncherProject();
    start();
    const auto runners = TgaActionRunnerManager::sharedActionRunnerManager();
    startScan();
    runners->setCurrentActionRunner(std::make_shared<FailingRunner>());
    notifications.receive("DidFinishScanDistributedNotification",
                          Dictionary{{"ScanResult", Array{"/1.pdf"}}});
    EXPECT_EQ(journal.take(), Lines(scanEnded.begin() + 1, scanEnded.end()));
    EXPECT_EQ(runners->currentActionRunner(), nullptr);
    EXPECT_FALSE(TrProjectManager::isProjectRunning());

    startScan();
    runners->setCurrentActionRunner(std::make_shared<FailingRunner>());
    confirm("D1", 0x123);
    EXPECT_EQ(journal.take(), failed);
    EXPECT_EQ(runners->currentActionRunner(), nullptr);
    EXPECT_FALSE(TrProjectManager::isProjectRunning());
}

TEST_F(TgaServiceManagerNotificationsTest, LetsTheAssistantGoForTheScanningApplication) {
    start();
    notifications.receive("DidFinishLaunchingPlScanDistributedNotification");
    EXPECT_EQ(journal.take(), Lines{"post! ReplySAQuitDistributedNotification"});
}

TEST_F(TgaServiceManagerNotificationsTest, KeepsTheLastReportedDriverName) {
    start();
    EXPECT_EQ(service->getDriverName(), std::nullopt);
    const std::string name = "DidGetDriverNameWithIPAddressDistributedNotification";
    const std::pair<std::optional<Dictionary>, std::string> reports[] = {
        {Dictionary{{"DriverName", "D1"}}, "D1"},
        {Dictionary{{"DriverName", "D2"}}, "D2"},
        {Dictionary{{"DriverName", 3}}, "D2"},
        {Dictionary{{"DriverName", ""}}, "D2"},
        {std::nullopt, "D2"},
    };
    for (const auto& [report, expected] : reports) {
        processes.appear("PScanAssistant");
        notifications.receive(name, report);
        EXPECT_EQ(service->getDriverName(), expected);
        EXPECT_EQ(journal.take(), Lines{failed[0]});
    }
    notifications.receive(name);
    EXPECT_EQ(journal.take(), Lines{}) << "nobody to ask to quit";
}

TEST_F(TgaServiceManagerNotificationsTest, RunsTestScans) {
    start();
    const auto typeSeenByOthers = [] {
        return PxIniParser::sharedParser()->valueWithFilePath(projectPath, "Launch", "ProjectType");
    };
    writeFile(projectPath, "[Launch]\nProjectID=701\nProjectType=0x0002\n");
    EXPECT_EQ(typeSeenByOthers(), "0x0002"); // and remembered
    writeFile(projectPath, "[Launch]\nProjectID=701\nProjectType=0x0001\n");
    idConverter.present = true;
    idConverter.knownTwainIDs = {"D1"};
    const Dictionary complete{
        {"TestScanDriverInfo", Dictionary{{"DriverInfoDrivername", "D1"}}},
        {"TestScanDeviceInfo", Dictionary{{"DeviceInfoModelID", 7}}},
        {"TestScanProjectFilePath", projectPath},
        {"TestScanScanSettings", Dictionary{{"folderPath", "/scans"}, {"driverName", "other"}}},
        {"TestScanEventID", "101"},
    };
    const std::string launch = "launch " + paths::scanAssistantExecutable();
    const std::string quit = "post! ReplySAQuitDistributedNotification";
    const std::string finished = "post ScanEventDidFinishNotification";
    const Lines started{quit, launch,
                        "post! ReplyScanDistributedNotification {DeviceInfo = {DeviceInfoModelID = 7;}; "
                        "ScanSettings = {driverName = D1; folderPath = /scans;};}"};
    struct Case {
        const char* key;
        std::optional<Value> value; ///< none: the key is left out
        Lines expected;
    };
    const Case cases[] = {
        {"unread", "x", started},
        {"TestScanDriverInfo", std::nullopt, {finished}},
        {"TestScanDriverInfo", "D1", {finished}},
        {"TestScanDriverInfo", Dictionary{}, {finished}},
        {"TestScanDeviceInfo", std::nullopt, {quit, launch, finished}},
        {"TestScanDeviceInfo", Array{}, {quit, launch, finished}},
        {"TestScanProjectFilePath", std::nullopt, {quit, launch, finished}},
        {"TestScanScanSettings", std::nullopt, {quit, launch, finished}},
        {"TestScanScanSettings", 1, {quit, launch, finished}},
        {"TestScanEventID", std::nullopt, {quit, launch, finished}},
    };
    for (const Case& c : cases) {
        Dictionary userInfo = complete;
        userInfo.erase(c.key);
        if (c.value) {
            userInfo[c.key] = *c.value;
        }
        processes.exit("PScanAssistant");
        processes.appear("PScanAssistant");
        notifications.receive("TestScannningWillStartNotification", userInfo);
        Lines journalled = journal.take();
        journalled.erase(std::unique(journalled.begin(), journalled.end()), journalled.end());
        EXPECT_EQ(journalled, c.expected) << c.key << " " << c.value.value_or(Value()).description();
        notifications.receive("DidFinishScanDistributedNotification");
        journal.take();
    }
    notifications.receive("TestScannningWillStartNotification");
    EXPECT_EQ(journal.take(), Lines{finished});
    writeFile(projectPath, "[Launch]\nProjectID=701\nProjectType=0x0003\n");
    EXPECT_EQ(typeSeenByOthers(), "0x0003") << "the test scan leaves nothing remembered";
}

TEST_F(TgaServiceManagerNotificationsTest, ReadsEverythingAfreshWhenSettingsChange) {
    installEvent("101", "000");
    start();
    press("XY-1", "D1", 1);
    confirm("D1", 0x123);
    EXPECT_EQ(journal.take().back(), "post ScanEventDidFinishNotification");
    installEvent("101", "610");
    installProject("610");
    for (const auto& [name, isStarted] :
         {std::pair{"SomeOtherNotification", false}, std::pair{"ScanSettingsDidChangeNotification", true}}) {
        notifications.receive(name);
        processes.appear("PScanAssistant");
        press("XY-1", "D1", 1);
        confirm("D1", 0x123);
        EXPECT_EQ(journal.take().back() == confirmationRequested[0], isStarted) << name;
    }
}

TEST_F(TgaServiceManagerNotificationsTest, KeepsThePagesOfAMessageThatIsBeingWritten) {
    writeFile(paths::predefinedProjectFolder() + "/500.plg",
              "[Launch]\nProjectID=500\nShow=0x0010\nProjectType=0x8003\nActionID=A1\n");
    installEvent("101", "500");
    const std::string leftover = "~/Library/Preferences/Mosaro Temp/left.jpg";
    const std::string page = "~/Library/Preferences/Mosaro Temp/img001.jpg";
    writeFile(leftover, "");
    start();
    startScan();
    EXPECT_FALSE(exists(leftover));
    writeFile(page, "");
    notifications.receive("ScanSettingsDidChangeNotification");
    notifications.receive("DidFinishScanDistributedNotification",
                          Dictionary{{"ScanResult", Array{home + page.substr(1)}}});
    EXPECT_EQ(journal.take().front(), "open " + home + page.substr(1) + " with /Applications/Viewer.app");
    EXPECT_TRUE(exists(page)) << "the settings changed";
    notifications.receive("ScanSettingsDidChangeNotification");
    startScan();
    EXPECT_TRUE(exists(page)) << "the next press";
}

TEST_F(TgaServiceManagerNotificationsTest, WatchesTheMonitorFoldersOfTheLatestSettings) {
    writeFile(paths::eventFolder() + "/Monitor.plg", "[Event]\nEventID=300\nShow=0x0210\n");
    const std::string projects = TrFilePathUtility::sharedFilePathUtility()->customFolderProjectFolderPath();
    writeFile(projects + "/Watch.plg", "[Launch]\nProjectID=701\nProjectType=0x0002\nActionID=A1\n");
    makeFolder("~/one");
    makeFolder("~/two");
    const auto watch = [&](const std::string& folder) {
        writePropertyList(paths::watchedFolderSettingsFile(),
                          Dictionary{{"2", Dictionary{{"executiveProjectID", "701"},
                                                      {"folderPath", home + folder},
                                                      {"intervalTime", 3}}}});
    };
    const auto openedAfterDropping = [&](const std::string& name) {
        writeFile("~/one/" + name, "");
        writeFile("~/two/" + name, "");
        loop.advance(3);
        return journal.take();
    };
    start();
    EXPECT_EQ(loop.timerCount(), 0U) << "nothing is to be watched yet";
    watch("/one");
    notifications.receive("ScanSettingsDidChangeNotification");
    EXPECT_EQ(loop.timerCount(), 0U) << "other settings";
    for (int i = 0; i < 3; ++i) {
        notifications.receive("MonitorFolderSettingsDidChangeNotification");
    }
    EXPECT_EQ(openedAfterDropping("a"), Lines{"open " + home + "/one/a with /Applications/Viewer.app"});
    watch("/two");
    notifications.receive("MonitorFolderSettingsDidChangeNotification");
    EXPECT_EQ(openedAfterDropping("b"), Lines{"open " + home + "/two/b with /Applications/Viewer.app"});
}

} // namespace
} // namespace trigora
