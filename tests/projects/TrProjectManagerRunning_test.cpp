// Running a project: which runner is made and filled how, what the scanning side is told, and who clears the
// running flag.

#include "catalogue/actions/TrActionInformation.h"
#include "projects/manager/TrProjectManager.h"
#include "runners/actions/TgaActionRunnerCopy.h"
#include "runners/actions/TgaActionRunnerEPS.h"
#include "runners/actions/TgaActionRunnerLauncher.h"
#include "runners/actions/TgaActionRunnerManager.h"
#include "runners/actions/TgaActionRunnerPageManager.h"
#include "runners/actions/TgaActionRunnerPeloxScan.h"
#include "tests/projects/ProjectTest.h"

#include <typeindex>

namespace trigora::test {
namespace {

const std::string confirmed = "post! ReplyScannerConfirmationDistributedNotification ";
const std::string scanNow = "post! ReplyScanDistributedNotification ";

class RunningTest : public ProjectTest {
protected:
    RunningTest() { writeFile(paths::scanAssistantExecutable(), ""); }

    static std::shared_ptr<TrProjectInformation> project(const std::string& type, const std::string& id) {
        auto made = std::make_shared<TrProjectInformation>();
        made->setType(type);
        made->setProjectID(id);
        return made;
    }
    std::shared_ptr<TrProjectInformation> projectWithAction(const std::string& type, const std::string& id) {
        auto made = project(type, id);
        auto action = std::make_shared<TrActionInformation>();
        makeFolder("/Applications/PELOX Scan.app");
        action->setActionFilePath("\xC3\xA9tx/A1.adi");
        action->setActionID("A1");
        action->setOption("0x0002");
        action->setApplicationPath("/Applications/PELOX Scan.app");
        made->setActionInformation(action);
        made->setProjectFilePath("/Users/a/P.plg");
        made->setScanSettingsPath("/Users/a/P.plist");
        return made;
    }
    Lines run(const std::shared_ptr<TrProjectInformation>& project,
              const std::optional<std::string>& ipAddress = std::nullopt) {
        EXPECT_EQ(manager->runProject(project, driver, "105", ipAddress), 0);
        return journal.take();
    }
    static std::shared_ptr<TgaActionRunner> currentRunner() {
        return TgaActionRunnerManager::sharedActionRunnerManager()->currentActionRunner();
    }
    static Dictionary assistantData(const std::string& id, const std::string& applicationPath) {
        return {{"ResponderSignature", std::int64_t{0xC3A97478}},
                {"NextAssistCreator", 0},
                {"EventID", "105"},
                {"ActionID", "A1"},
                {"ProjectID", id},
                {"ProjectType", 1},
                {"PassParameter", 1},
                {"driverName", "D1"},
                {"NextAssistantPath", applicationPath},
                {"ProjectPLGPath", "/Users/a/P.plg"},
                {"ScanSettingPath", "/Users/a/P.plist"}};
    }

    const std::shared_ptr<TrScannerDriverInformation> driver =
        driverWithDevice({{"DeviceInfoModelID", 0x12D}});
    const std::shared_ptr<TrProjectManager> manager = TrProjectManager::sharedProjectManager();
};

TEST_F(RunningTest, ChoosesTheRunnerByTypeAndID) {
    struct Case {
        const char* type;
        const char* id;
        std::type_index runner;
    };
    const std::type_index none = typeid(void);
    for (const Case& c : {Case{"0x8001", "110", typeid(TgaActionRunnerLauncher)},
                          Case{"0x8002", "110", typeid(TgaActionRunnerPeloxScan)},
                          Case{"0x8002", "520", typeid(TgaActionRunnerPeloxScan)},
                          Case{"0x8002", "910", typeid(TgaActionRunnerPageManager)},
                          Case{"0x8002", "911", typeid(TgaActionRunnerPageManager)},
                          Case{"0x8002", "912", typeid(TgaActionRunnerPageManager)},
                          Case{"0x8002", "340", typeid(TgaActionRunnerCopy)},
                          Case{"0x8002", "380", typeid(TgaActionRunnerEPS)},
                          Case{"0x8002", "913", typeid(TgaActionRunnerLauncher)},
                          Case{"0x8003", "500", typeid(TgaActionRunnerLauncher)}, Case{"0x8003", "501", none},
                          Case{"0x0002", "110", typeid(TgaActionRunnerLauncher)},
                          Case{"", "", typeid(TgaActionRunnerLauncher)}}) {
        TgaActionRunnerManager::sharedActionRunnerManager()->setCurrentActionRunner(nullptr);
        const auto given = project(c.type, c.id);
        given->setActionInformation(std::make_shared<TrActionInformation>());
        run(given);
        const auto runner = currentRunner();
        EXPECT_EQ(runner ? std::type_index(typeid(*runner)) : none, c.runner) << c.type << " " << c.id;
        EXPECT_TRUE(!runner || runner->actionInformation() == given->actionInformation());
    }
}

TEST_F(RunningTest, TellsTheScanningSideToScanOrThatTheScannerIsConfirmed) {
    const auto confirmation = [](const Dictionary& userInfo) {
        return Lines{confirmed + Value(userInfo).description()};
    };
    EXPECT_EQ(run(project("0x0002", "700")), confirmation({{"DriverName", "D1"}}));
    EXPECT_EQ(run(project("0x8002", "911"), "10.0.0.9"),
              confirmation({{"DriverName", "D1"}, {"IPAddress", "10.0.0.9"}}));

    const auto runnerBefore = currentRunner();
    for (const char* type : {"0x0001", "0x0003", "0x8001", "0x8003"}) {
        const auto scanning = project(type, "501");
        scanning->setScanSettings({{"FolderPath", "/Users/a"}, {"Prefix", "img"}});
        const Dictionary userInfo{{"ScanSettings", scanning->scanSettings()},
                                  {"DeviceInfo", driver->deviceInfo()}};
        EXPECT_EQ(run(scanning), Lines{scanNow + Value(userInfo).description()}) << type;
    }
    EXPECT_NE(currentRunner(), runnerBefore);
}

TEST_F(RunningTest, FillsTheRunnerOfTheScanningApplication) {
    idConverter.knownTwainIDs = {"D1"};
    for (const bool isConverterPresent : {false, true}) {
        idConverter.present = isConverterPresent;
        run(projectWithAction("0x8002", "110"));
        ASSERT_TRUE(currentRunner());
        EXPECT_EQ(currentRunner()->performAction(), 0);

        Dictionary settings = assistantData("110", isConverterPresent ? paths::newerScanApplication()
                                                                      : "/Applications/PELOX Scan.app");
        settings["prefix"] = "img";
        settings["startNumber"] = "001";
        EXPECT_EQ(journal.take().back(), "post! ReplyLaunchPlScanDistributedNotification " +
                                             Value(Dictionary{{"PlScanSettings", settings}}).description());
    }
}

TEST_F(RunningTest, GivesEveryRunnerOnlyWhatItTakes) {
    const auto scanRunner = [&](const char* option) {
        auto given = projectWithAction("0x8002", "911");
        given->actionInformation()->setOption(option);
        run(given, "10.0.0.9");
        return std::dynamic_pointer_cast<TgaActionRunnerPageManager>(currentRunner());
    };
    struct Case {
        const char* option;
        int passParameter;
    };
    for (const Case& c : {Case{"0x0001", 0}, Case{"0x0002", 1}, Case{"unknown", -1}}) {
        const auto runner = scanRunner(c.option);
        ASSERT_TRUE(runner);
        Dictionary expected = assistantData("911", "/Applications/PELOX Scan.app");
        expected["PassParameter"] = c.passParameter;
        EXPECT_EQ(runner->scanAssistantData(), expected) << c.option;
        const Dictionary eventData{{"EventID", "105"}, {"DriverName", "D1"}, {"FileFormat", 0},
                                   {"V_ScanSize", 0},  {"H_ScanSize", 0},    {"ExtendParam", 0}};
        EXPECT_EQ(runner->eventManagerData(), eventData);
        EXPECT_EQ(runner->driverName(), "D1");
        EXPECT_EQ(runner->ipAddress(), "10.0.0.9");
    }

    // Without an action there is nothing to say about it.
    run(project("0x8002", "340"));
    const auto copy = std::dynamic_pointer_cast<TgaActionRunnerCopy>(currentRunner());
    ASSERT_TRUE(copy && copy->scanAssistantData());
    EXPECT_EQ(*copy->scanAssistantData(), (Dictionary{{"ResponderSignature", 0},
                                                      {"NextAssistCreator", 0},
                                                      {"EventID", "105"},
                                                      {"ProjectID", "340"},
                                                      {"ProjectType", 1},
                                                      {"PassParameter", -1},
                                                      {"driverName", "D1"}}));
}

TEST_F(RunningTest, ASecondRunIsRefusedAndClearsTheWayForAThird) {
    const auto scanning = project("0x0001", "700");
    processes.appear("PScanAssistant");
    EXPECT_EQ(run(scanning).size(), 1U);
    EXPECT_TRUE(TrProjectManager::isProjectRunning());

    EXPECT_EQ(run(scanning), Lines{"post! ReplySAQuitDistributedNotification"});
    EXPECT_FALSE(TrProjectManager::isProjectRunning());

    EXPECT_EQ(run(scanning).front().substr(0, scanNow.size()), scanNow);
    EXPECT_TRUE(TrProjectManager::isProjectRunning());
}

TEST_F(RunningTest, TheFlagStaysOnlyWhileAnAssistantRunsAndOutlivesTheManager) {
    const auto scanning = project("0x0001", "700");
    run(scanning);
    EXPECT_FALSE(TrProjectManager::isProjectRunning()) << "no assistant";

    processes.appear("PScanAssistant");
    EXPECT_EQ(run(nullptr), Lines{}) << "no project";
    EXPECT_FALSE(TrProjectManager::isProjectRunning());

    run(scanning);
    TrProjectManager::releaseSharedManager();
    EXPECT_TRUE(TrProjectManager::isProjectRunning());
    TrProjectManager::setRunningProjectStatus(false);
    EXPECT_FALSE(TrProjectManager::isProjectRunning());
}

TEST_F(RunningTest, LogsTheOutcome) {
    makeFolder("/Users/Shared/PELOX/Button");
    const auto logged = [&] {
        std::string last;
        for (const std::string& line : console.take()) {
            if (line.find("runProject") != std::string::npos) {
                last = line;
            }
        }
        return last.substr(last.rfind("retVal_OSErr"));
    };
    processes.appear("PScanAssistant");
    run(nullptr);
    EXPECT_EQ(logged().substr(0, 17), "retVal_OSErr = -2");
    run(project("0x0001", "700"));
    EXPECT_EQ(logged().substr(0, 16), "retVal_OSErr = 0");
    run(project("0x0001", "700"));
    EXPECT_EQ(logged().substr(0, 17), "retVal_OSErr = -1");
}

} // namespace
} // namespace trigora::test
