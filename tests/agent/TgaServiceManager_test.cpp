// From the press of a button to the run of a project, and every way in which that fails.

#include "projects/manager/TrProjectManager.h"
#include "runners/actions/RunnerInputs.h"
#include "runners/actions/TgaActionRunner.h"
#include "runners/actions/TgaActionRunnerManager.h"
#include "tests/agent/InstalledScannerTest.h"

namespace trigora {
namespace {

using test::Lines;

class TgaServiceManagerTest : public test::InstalledScannerTest {
protected:
    void installBundle(const std::string& path, const std::string& version) {
        writePropertyList(path + "/Contents/Info.plist", Dictionary{{"CFBundleVersion", version}});
    }

    void startAfresh() {
        service.reset();
        platform::releaseShared<TgaServiceManager>();
        start();
    }

    /// The event ID that a press of the button starts a project with; none when nothing is started. The
    /// runner carries it to the scanning application.
    std::optional<std::string> eventOfPress(const std::string& model, const std::string& driver,
                                            std::uint32_t status, std::int64_t modelID = 0x123) {
        launched.reset();
        press(model, driver, status);
        confirm(driver, modelID);
        confirm(driver, modelID); // ends the scan that now runs
        return platform::textAt(launched.value_or(Dictionary{}), "EventID");
    }
};

TEST_F(TgaServiceManagerTest, AsksTheScanAssistantToConfirm) {
    struct Case {
        const char* what;
        std::string model, driver, version, oldVersion, known, expected;
    };
    const std::string longVersion = "9." + std::string(5000, '9');
    const Case cases[] = {
        {"no scan settings", "XY-1", "D1", "", "", "", "{DriverName = D1;}"},
        {"the model serves as name", "XY-1", "PELOX Scanner", "", "", "", "{DriverName = XY-1;}"},
        {"no model to serve", "", "PELOX Scanner", "", "", "", "{}"},
        {"no driver", "XY-1", "", "3.7.5", "", "", "{IPAddress = L;}"},
        {"old settings", "XY-1", "D1", "3.7.4", "9.9.9", "", "{DriverName = D1;}"},
        {"recent settings", "XY-1", "D1", "3.7.5", "", "", "{DriverName = D1; IPAddress = L;}"},
        {"points are dropped", "XY-1", "D1", "4.0", "", "", "{DriverName = D1;}"},
        {"a version of 0 asks the old place", "XY-1", "D1", "0.0", "3.75", "",
         "{DriverName = D1; IPAddress = L;}"},
        {"a version without end", "XY-1", "D1", longVersion, "", "", "{DriverName = D1; IPAddress = L;}"},
        {"a known driver", "XY-1", "D1", "", "", "D1", "{DriverName = D1; IPAddress = L;}"},
        {"another is known", "XY-1", "D1", "", "", "D2", "{DriverName = D1;}"},
    };
    start();
    for (const Case& c : cases) {
        installBundle(paths::scanSettingsApplication(), c.version);
        installBundle(paths::scanSettingsApplicationInUtilities(), c.oldVersion);
        idConverter.present = !c.known.empty();
        idConverter.knownTwainIDs = {c.known};
        press(c.model, c.driver, 1);
        EXPECT_EQ(journal.take(),
                  Lines{"post! ReplyScannerConfirmationDistributedNotification " + c.expected})
            << c.what;
    }
}

TEST_F(TgaServiceManagerTest, LaunchesTheAssistantBeforeAsking) {
    start();
    processes.exit("PScanAssistant");
    press("XY-1", "D1", 1);
    EXPECT_EQ(journal.take(),
              (Lines{"launch " + paths::scanAssistantExecutable(), confirmationRequested[0]}));
}

TEST_F(TgaServiceManagerTest, DropsEventsWithoutAWholeRecord) {
    start();
    platform::AppleEvent event = test::scanButtonEvent(test::scanEventBytes("XY-1", "D1", 1));
    event.parameters[0].bytes.resize(75);
    appleEvents.receive(event);
    event.parameters.clear();
    EXPECT_TRUE(appleEvents.receive(event).event.parameters.empty());
    EXPECT_EQ(journal.take(), Lines{});
}

TEST_F(TgaServiceManagerTest, MapsButtonsToEvents) {
    writeFile(paths::scannerCapabilityFile(), "[Model0200]\nJobDeviceType=1\nModifiedEvent=16\n"
                                              "[Model0300]\nDevInfAlias=Alias\nModifiedEvent=-2147483648\n"
                                              "[Model0400]\nModifiedEvent=16\n");
    writeFile(paths::deviceTableFile(), "D1,\"XY-1\",\"JP-1\",4,\"110\",111,,114x\r\n"
                                        "D1,XY-2,JP-2,2\n"
                                        "\n"
                                        "Alias,*,*,3,121,122,123\n"
                                        "D1,*,JP-3,1,131\n"
                                        "D2, XY-4,*,1,141\n"
                                        "D3,XY-5,XY-5,12,1,2,3,4,5,6,7,8,9,150,151,152\n"
                                        "*,*,*,1,161\n"
                                        "D9,XY-9,XY-9,1,191");
    struct Case {
        const char* what;
        std::string model, driver;
        std::uint32_t status;
        std::int64_t modelID;
        const char* expected;
        const char* language = "en";
    };
    const Case cases[] = {
        {"by model, quotes dropped", "XY-1", "D1", 1, 0x123, "110"},
        {"second column", "XY-1", "D1", 2, 0x123, "111"},
        {"an empty field is 0, not its own number", "XY-1", "D1", 3, 0x123, "0"},
        {"digits up to the first other character", "XY-1", "D1", 4, 0x123, "114"},
        {"beyond the row's buttons", "XY-1", "D1", 5, 0x123, "105"},
        {"missing fields stand for themselves", "XY-2", "D1", 2, 0x123, "2"},
        {"button 0 has no column", "XY-1", "D1", 0, 0x123, "0"},
        {"a negative button has no column", "XY-1", "D1", 0xFFFFFFFF, 0x123, "0"},
        {"button 10 is the last column", "XY-5", "D3", 10, 0x123, "150"},
        {"button 11 has no column", "XY-5", "D3", 11, 0x123, "0"},
        {"a row of another model does not match by its driver", "XY-8", "D2", 1, 0x123, "161"},
        {"blanks are kept", "XY-4", "D8", 1, 0x123, "161"},
        {"blanks are kept and match", " XY-4", "D8", 1, 0x123, "141"},
        {"a catch-all row hides what follows", "XY-9", "D9", 1, 0x123, "161"},
        {"catch-all row of the driver", "XY-8", "D1", 1, 0x123, "131"},
        {"job buttons pass by the table", "XY-1", "D1", 1, 0x200, "201"},
        {"job buttons without feature bits", "XY-1", "D1", 0x13, 0x200, "203"},
        {"feature bits are stripped", "XY-1", "D1", 0x12, 0x400, "111"},
        {"the highest bit is a feature bit", "XY-8", "D9", 0x80000002, 0x300, "122"},
        {"the alias stands for the driver", "XY-8", "D1", 2, 0x300, "122"},
        {"Japanese column", "JP-1", "D1", 2, 0x123, "111", "ja"},
        {"not the other column", "XY-1", "D7", 2, 0x123, "102", "ja"},
        {"exactly ja", "JP-1", "D7", 2, 0x123, "102", "ja-JP"},
    };
    for (const Case& c : cases) {
        installEvent(c.expected);
    }
    start();
    for (const Case& c : cases) {
        userDefaults.values["AppleLanguages"] = Array{c.language, "ja"};
        EXPECT_EQ(eventOfPress(c.model, c.driver, c.status, c.modelID), c.expected) << c.what;
    }
}

TEST_F(TgaServiceManagerTest, RefusesTwoEvents) {
    for (const char* eventID : {"102", "103", "104", "105"}) {
        installEvent(eventID);
    }
    stringTable.texts = {
        {"Message.Title", "T"}, {"Message.Error.NotSupportedEvent", "M"}, {"Message.Button.OK", "B"}};
    start();
    for (const std::uint32_t button : {3U, 4U}) {
        processes.appear("PScanAssistant");
        press("XY-1", "D1", button);
        journal.take();
        confirm("D1", 0x123);
        EXPECT_EQ(journal.take(), (Lines{"alert T | M | B", failed[0], failed[1]})) << button;
    }
    EXPECT_EQ(eventOfPress("XY-1", "D1", 2), "102");
    EXPECT_EQ(eventOfPress("XY-1", "D1", 5), "105");

    const Dictionary later{{"driverName", "D2"}};
    alertPanel.whileShown = [&] { service->setCurrentEvent(later); }; // by a network scanner
    press("XY-1", "D1", 3);
    confirm("D1", 0x123);
    EXPECT_EQ(service->currentPress().event, later);
}

TEST_F(TgaServiceManagerTest, ReadsDamagedDeviceTablesAsMissing) {
    installEvent("107");
    installEvent("7");
    const std::string row = "*,*,*,9,1,2,3,4,5,6,7,8,9\n";
    const std::pair<const char*, std::string> tables[] = {
        {"broken UTF-8", row + "\xFF"},
        {"nothing but line breaks", row + std::string(30000, '\n')},
        {"huge", row + std::string(2U << 20, 'x')},
    };
    for (const auto& [what, table] : tables) {
        writeFile(paths::deviceTableFile(), table);
        startAfresh();
        EXPECT_EQ(eventOfPress("XY-1", "D1", 7), "107") << what;
    }
    writeFile(paths::deviceTableFile(), row);
    startAfresh();
    EXPECT_EQ(eventOfPress("XY-1", "D1", 7), "7");
}

TEST_F(TgaServiceManagerTest, RunsWhatIsBoundForTheModel) {
    installEvent("101");
    writePropertyList(paths::buttonBindingsFile(std::string("0124")), Dictionary{{"101", "340"}});
    installProject("340");
    start();
    for (const auto& [modelID, projectID] : {std::pair{0x124, "340"}, std::pair{0x123, "110"}}) {
        press("XY-1", "D1", 1);
        confirm("D1", modelID);
        const auto runner = TgaActionRunnerManager::sharedActionRunnerManager()->currentActionRunner();
        const auto* input = dynamic_cast<ScanAssistantDataInput*>(runner.get());
        ASSERT_TRUE(input && input->scanAssistantData());
        EXPECT_EQ(platform::textAt(*input->scanAssistantData(), "ProjectID"), projectID);
        confirm("D1", modelID);
    }
}

TEST_F(TgaServiceManagerTest, HandsTheProjectOverWithThePress) {
    // A project that scans shows its settings in what it asks the assistant for.
    writeFile(paths::predefinedProjectFolder() + "/700.plg",
              "[Launch]\nProjectID=700\nShow=0x0010\nProjectType=0x8001\nActionID=A1\n");
    installEvent("101", "700");
    installBundle(paths::scanSettingsApplication(), "3.7.5");
    std::optional<Dictionary> request;
    notifications.onPost("ReplyScanDistributedNotification",
                         [&](const platform::Notification& post) { request = post.userInfo; });
    start();
    writeFile(paths::scannerCapabilityFile(), "[Model0123]\nModifiedEvent=16\n");
    press("XY-1", "D1", 0x11);
    const Dictionary later{{"driverName", "D2"}, {"eventStatus", 2}, {"IPAddress", "10.0.0.9"}};
    userDefaults.onRead = [&] { service->setCurrentEvent(later); }; // by a network scanner, on its thread
    confirm("D1", 0x123);
    EXPECT_EQ(service->currentPress().event, later);
    ASSERT_TRUE(request);
    const Dictionary settings = platform::dictionaryAt(*request, "ScanSettings").value_or(Dictionary{});
    EXPECT_EQ(platform::integerAt(settings, "extFeatureBit"), 0x11);
    EXPECT_EQ(platform::textAt(settings, "driverName"), "D1");
    EXPECT_EQ(platform::textAt(settings, "ipAddress"), "L");
    EXPECT_EQ(platform::textAt(settings, "projectID"), "700");
    EXPECT_EQ(request->at("DeviceInfo"), Value(Dictionary{{"DeviceInfoModelID", 0x123}}));
}

TEST_F(TgaServiceManagerTest, EndsEveryFailedPressOnce) {
    installProject("500");
    installEvent("101");
    installEvent("102", "000");
    installEvent("105", "");
    installEvent("106", "777");
    installEvent("107", "500");
    idConverter.present = true;
    idConverter.knownTwainIDs = {"Newer"};
    struct Case {
        const char* what;
        std::string driver;
        std::uint32_t status;
        std::optional<Dictionary> answer;
    };
    const auto answer = [](Value result, const std::string& driver = "D1") {
        return Dictionary{
            {"ScannerConfirmResult", std::move(result)},
            {"UpdatedDeviceInfo", Dictionary{{driver, Dictionary{{"DeviceInfoModelID", 0x123}}}}}};
    };
    const Case cases[] = {
        {"not confirmed", "D1", 1, answer(1)},
        {"result of the wrong type", "D1", 1, answer(Array{0})},
        {"no result", "D1", 1, Dictionary{}},
        {"no user information", "D1", 1, std::nullopt},
        {"no driver name", "", 1, answer(0)},
        {"driver name that is no text", "\xFF\xFE", 1, answer(0)},
        {"project ID 0", "D1", 2, answer(0)},
        {"no project bound", "D1", 5, answer(0)},
        {"project that does not exist", "D1", 6, answer(0)},
        {"project that the driver cannot use", "Newer", 7, answer(0, "Newer")},
        {"no such event", "D1", 90, answer(0)},
        {"status with every bit set", "D1", 0xFFFFFFFF, answer(0)},
        {"greatest button", "D1", 0x7FFFFFFF, answer(0)},
    };
    start();
    for (const Case& c : cases) {
        processes.appear("PScanAssistant");
        press("XY-1", c.driver, c.status);
        journal.take();
        notifications.receive("DidFinishScannerConfirmationDistributedNotification", c.answer);
        EXPECT_EQ(journal.take(), failed) << c.what;
        EXPECT_EQ(eventOfPress("XY-1", "D1", 1), "101") << "the next press after: " << c.what;
        journal.take();
    }
    // Without a press before it, a confirmation has nothing to run.
    confirm("D1", 0x123);
    EXPECT_EQ(journal.take(), failed);
}

TEST_F(TgaServiceManagerTest, TakesBrokenDeviceInformationAsUnknownModel) {
    installEvent("101");
    start();
    for (const Value& devices :
         {Value(Array{1}), Value(Dictionary{{"D2", Dictionary{}}}), Value(Dictionary{{"D1", "text"}})}) {
        press("XY-1", "D1", 1);
        journal.take();
        notifications.receive("DidFinishScannerConfirmationDistributedNotification",
                              Dictionary{{"ScannerConfirmResult", 0}, {"UpdatedDeviceInfo", devices}});
        EXPECT_EQ(journal.take(), confirmationRequested) << devices.description();
        confirm("D1", 0, 1);
    }
}

TEST_F(TgaServiceManagerTest, LetsTheLaterPressWin) {
    installEvent("101");
    installEvent("102");
    start();
    press("XY-1", "D1", 1);
    press("XY-1", "D2", 2);
    confirm("D2", 0x123);
    confirm("D2", 0x123);
    EXPECT_EQ(platform::textAt(launched.value_or(Dictionary{}), "EventID"), "102");
}

TEST_F(TgaServiceManagerTest, TellsThePressInTheLog) {
    installEvent("101");
    start();
    makeFolder("/Users/Shared/PELOX/Button");
    // What the service manager said since the last call, each line from its operation's name on, without the
    // numbers of source lines.
    const auto told = [this] {
        Lines messages;
        for (const std::string& line : console.take()) {
            if (const auto operation = line.find("-[TgaServiceManager "); operation != std::string::npos) {
                const std::string message = line.substr(operation + 20);
                const auto number = message.find("[Line ");
                messages.push_back(message.substr(0, number) + message.substr(message.find(']', number) + 1));
            }
        }
        return messages;
    };
    const std::string handle = "SM_HandleScanEvent:withReplyEvent:] ";
    const std::string confirmed = "SM_ScannerConfirmationDidFinish:] ";
    const std::string check = "SM_CheckEventInfo:scannerVersion:] ";
    const std::string run = "SM_EventAction:deviceInfo:scannerVersion:] ";

    press("XY-1", "D1", 1);
    EXPECT_EQ(told(), (Lines{handle + "Enter   ", handle + "Leave   "}));
    confirm("D1", 0x123);
    EXPECT_EQ(told(),
              (Lines{confirmed + "Enter   ", confirmed + " result_Int = 0 ", confirmed + " confirmAction ",
                     check + "  ", check + " driverName_String = D1 ", run + "Enter   ",
                     run + "Leave  isEventAction_BOOL = 1 ", check + "Leave   ", confirmed + "Leave   "}));
    confirm("D1", 0x123, 5); // ends the scan that runs
    EXPECT_EQ(told(),
              (Lines{confirmed + "Enter   ", confirmed + " result_Int = 5 ", confirmed + " executeAction ",
                     confirmed + " receiveError ", confirmed + "Leave   "}));
    press("XY-1", "", 1);
    told();
    confirm("D1", 0x123);
    EXPECT_EQ(told(), (Lines{confirmed + "Enter   ", confirmed + " result_Int = 0 ",
                             confirmed + " confirmAction ", check + "  ",
                             check + " driverName_String = (null) ", confirmed + " SM_CheckEventInfo fails ",
                             confirmed + " receiveError ", confirmed + "Leave   "}));
}

TEST_F(TgaServiceManagerTest, EndsARunningScanWithTheConfirmation) {
    installEvent("101");
    start();
    for (const std::int64_t result : {0, 5}) {
        processes.appear("PScanAssistant");
        launched.reset();
        press("XY-1", "D1", 1);
        confirm("D1", 0x123);
        EXPECT_TRUE(TrProjectManager::isProjectRunning());
        journal.take();
        confirm("D1", 0x123, result);
        EXPECT_FALSE(TrProjectManager::isProjectRunning());
        EXPECT_EQ(launched.has_value(), result == 0);
        EXPECT_EQ(journal.take() == failed, result != 0);
    }
}

} // namespace
} // namespace trigora
