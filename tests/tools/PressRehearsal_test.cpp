// A rehearsed press and a real one must come to the same: the agent's service manager and the rehearsal are
// both driven over the same installation, press by press.

#include "agent/service/TgaServiceManager.h"
#include "catalogue/events/TrEventManager.h"
#include "files/PxIniParser.h"
#include "projects/manager/TrProjectManager.h"
#include "runners/actions/TgaActionRunnerManager.h"
#include "tests/agent/ScanEventBytes.h"
#include "tests/tools/SettingsCommandTest.h"
#include "tools/rehearsal/PressRehearsal.h"

namespace trigora::tools {
namespace {

using Kind = RehearsedEffect::Kind;

/// As the journal writes them.
std::string line(const RehearsedEffect& effect) {
    const auto arguments = [&] {
        std::string text;
        for (const std::string& argument : effect.arguments) {
            text += " " + argument;
        }
        return text;
    };
    switch (effect.kind) {
    case Kind::post:
        return "post " + effect.target + (effect.userInfo ? " " + Value(*effect.userInfo).description() : "");
    case Kind::launch:
        return "launch " + effect.target + arguments();
    case Kind::open:
        return "open" + arguments() + " with " + effect.target;
    case Kind::send:
        return "send " + effect.target;
    case Kind::message:
        break;
    }
    return "alert " + effect.target;
}

/// What a line of the journal and one of a rehearsal have in common.
std::string comparable(std::string text) {
    const std::pair<std::string_view, std::string_view> same[] = {{"post! ", "post "},
                                                                  {"launch application ", "launch "}};
    for (const auto& [written, meant] : same) {
        if (text.starts_with(written)) {
            text.replace(0, written.size(), meant);
        }
    }
    if (text.starts_with("send ")) {
        return text.substr(0, text.find(" to "));
    }
    return text.starts_with("alert ") ? text.substr(0, text.find(" | ")) : text;
}

struct Case {
    const char* what;
    std::string driver, model;
    std::uint32_t status;
    std::int64_t modelID;
    const char* version;
    bool isICA;
    // What both shall come to; the event ID only where a project starts.
    int eventID; ///< 0 when none is found out
    const char* projectID;
    bool runs;
};

class PressRehearsalTest : public SettingsCommandTest {
protected:
    void SetUp() override {
        SettingsCommandTest::SetUp();
        writeFile(paths::scanAssistantExecutable(), "");
        notifications.onPost("ReplySAQuitDistributedNotification",
                             [this](const platform::Notification&) { processes.exit("PScanAssistant"); });
        notifications.onPost("ReplyScanDistributedNotification", [this](const platform::Notification& post) {
            const auto scan = platform::dictionaryAt(post.userInfo.value_or(Dictionary()), "ScanSettings");
            scanFolder = platform::textAt(scan.value_or(Dictionary()), "folderPath");
        });
        const std::string predefined = paths::predefinedProjectFolder() + "/";
        writeProject(predefined, "Scan application", "110", "0x8002", "300");
        writeProject(predefined, "Network", "520", "0x8002", "300");
        writeProject(predefined, "Pages", "910", "0x8002", "300");
        writeProject(predefined, "Photo", "380", "0x8002", "300");
        writeProject(predefined, "Other", "600", "0x8003", "300");
        writeProject(ownProjects, "Own", "701", "0x0001", "310");
        const std::pair<int, const char*> events[] = {{110, "110"}, {111, "520"}, {112, "910"}, {113, "380"},
                                                      {114, "340"}, {115, "600"}, {116, "701"}, {117, "000"},
                                                      {118, "999"}, {119, "500"}};
        for (const auto& [eventID, projectID] : events) {
            installEvent("E" + std::to_string(eventID), "EventID=" + std::to_string(eventID) +
                                                            "\nShow=0x0110\nDefaultProject=" + projectID +
                                                            "\n");
        }
        installEvent("Unbound", "EventID=130\nShow=0x0110\n");
        writeFile(paths::deviceTableFile(), "Shared,\"XY-1\",JP-1,4,110,103,104,130\r\n"
                                            "Alias,*,*,2,111,112\r\n"
                                            "*,*,JP-2,9,113,114,115,116,117,118,119,101\r\n");
        writeFile(paths::scannerCapabilityFile(), readFile(paths::scannerCapabilityFile()) +
                                                      "[Model0300]\nDevInfAlias=Alias\nModifiedEvent=16\n"
                                                      "[Model0400]\nDevInfAlias=Missing\n");
        writeFile(paths::scannerDriversFile(), readFile(paths::scannerDriversFile()) + "[D]\n");
        writePropertyList(std::string(settings) + "Model0500/ButtonEventProjectInfo.plist",
                          Dictionary{{"110", "610"}, {"113", 5}});
        writePropertyList("~/Library/Preferences/MRA2.3/Model0501/ButtonEventProjectInfo.plist",
                          Dictionary{{"110", "701"}});
        writeFile(std::string(settings) + "Model0502/ButtonEventProjectInfo.plist", "<damaged");
    }

    static RehearsedPress pressOf(const Case& c) {
        return {c.driver, c.model, c.status,
                Dictionary{{"DeviceInfoModelID", c.modelID}, {"DeviceInfoIsRunICAMode", c.isICA}}, c.version};
    }

    Lines rehearsed(const Case& c, bool& runs) {
        const PressRehearsal rehearsal(pressOf(c));
        EXPECT_EQ(rehearsal.isConfirmed() ? rehearsal.mapping().eventID : 0, c.eventID) << c.what;
        EXPECT_EQ(rehearsal.project().projectID.value_or(""), c.projectID) << c.what;
        runs = rehearsal.wouldRun();
        Lines lines;
        for (const auto* effects : {&rehearsal.request(), &rehearsal.start(), &rehearsal.action()}) {
            for (const RehearsedEffect& effect : *effects) {
                lines.push_back(comparable(line(effect)));
            }
        }
        return lines;
    }

    /// A new agent, as after a start, with its scan assistant running.
    void startAgent() {
        platform::releaseShared<TgaServiceManager>();
        TrProjectManager::releaseSharedManager();
        TrEventManager::releaseSharedManager();
        PxIniParser::sharedParser()->removeAllItems();
        TgaActionRunnerManager::sharedActionRunnerManager()->setCurrentActionRunner(nullptr);
        TrProjectManager::setRunningProjectStatus(false);
        processes.exit("PScanAssistant");
        processes.appear("PScanAssistant");
        clock.sleepMicroseconds(1'000'000);
        TgaServiceManager::sharedServiceManager()->setupService();
        journal.take();
    }

    Lines performed(const Case& c) {
        startAgent();
        appleEvents.receive(test::scanButtonEvent(test::scanEventBytes(c.model, c.driver, c.status)));
        const RehearsedPress press = pressOf(c);
        const std::string name = c.driver == "PELOX Scanner" ? c.model : c.driver;
        const Dictionary confirmation{{"ScannerConfirmResult", 0},
                                      {"ScannerVersion", press.scannerVersion},
                                      {"UpdatedDeviceInfo", Dictionary{{name, press.deviceInfo}}}};
        Lines lines = journal.take();
        notifications.receive("DidFinishScannerConfirmationDistributedNotification", confirmation);
        const Lines started = journal.take();
        lines.insert(lines.end(), started.begin(), started.end());
        if (scanFolder) {
            const std::string file =
                *std::exchange(scanFolder, std::nullopt) + "/" + PressRehearsal::scannedFiles;
            notifications.receive("DidFinishScanDistributedNotification",
                                  Dictionary{{"ScanResult", Array{file}}});
        } else if (!started.empty() && started.front().starts_with("post! ReplyScannerConfirmation")) {
            notifications.receive("DidFinishScannerConfirmationDistributedNotification", confirmation);
        }
        const Lines done = journal.take();
        lines.insert(lines.end(), done.begin(), done.end());
        std::ranges::transform(lines, lines.begin(), comparable);
        return lines;
    }

    std::optional<std::string> scanFolder; ///< of the scan that the agent has asked for
};

TEST_F(PressRehearsalTest, ComesToWhatTheAgentComesTo) {
    const Case cases[] = {
        {"scanning application", "D", "XY-1", 1, 0, "3.0", false, 110, "110", true},
        {"too old a driver", "D", "X", 1, 0x300, "2.6", false, 111, "520", false},
        {"an alias and a feature bit", "D", "X", 17, 0x300, "3.0", false, 111, "520", true},
        {"page manager", "D", "X", 2, 0x300, "3.0", false, 112, "910", true},
        {"an alias that the table does not have", "Alias", "X", 1, 0x400, "3.0", false, 113, "380", false},
        {"the driver's own row", "Alias", "X", 2, 0, "3.0", false, 112, "910", true},
        {"refused", "D", "XY-1", 2, 0, "3.0", false, 103, "", false},
        {"refused, too", "D", "XY-1", 3, 0, "3.0", false, 104, "", false},
        {"beyond the row", "D", "XY-1", 10, 0, "3.0", false, 110, "110", true},
        {"column of an event without a project", "D", "XY-1", 4, 0, "3.0", false, 130, "", false},
        {"job button", "D", "X", 2, 0xF02, "3.0", false, 202, "610", true},
        {"job button without an event", "D", "X", 100, 0xF02, "3.0", false, 300, "", false},
        {"no event", "D", "XY-1", 77, 0, "3.0", false, 177, "", false},
        {"negative", "D", "XY-1", 0xFFFFFFFF, 0, "3.0", false, 0, "", false},
        {"the model's name counts", "PELOX Scanner", "XY-1", 1, 0, "3.0", false, 110, "110", true},
        {"no name at all", "PELOX Scanner", "", 1, 0, "3.0", false, 0, "", false},
        {"ICA mode", "D", "XY-1", 1, 0, "3.0", true, 110, "110", false},
        {"own folder, not made yet", "D", "X", 4, 0xF01, "3.0", false, 116, "701", true},
        {"bound", "D", "XY-1", 1, 0x500, "3.0", false, 110, "610", true},
        {"bound in the earlier version's file", "D", "XY-1", 1, 0x501, "3.0", false, 110, "701", true},
        {"a damaged binding file", "D", "XY-1", 1, 0x502, "3.0", false, 110, "110", true},
    };
    for (const Case& c : cases) {
        bool runs = false;
        const auto before = tree();
        const Lines expected = rehearsed(c, runs);
        EXPECT_EQ(tree(), before) << c.what;
        EXPECT_EQ(journal.take(), Lines{}) << c.what;
        EXPECT_EQ(runs, c.runs) << c.what;
        EXPECT_EQ(performed(c), expected) << c.what;
    }
}

TEST_F(PressRehearsalTest, RowsForEveryModelInTheOtherColumn) {
    userDefaults.values["AppleLanguages"] = Array{"ja"};
    const struct {
        std::uint32_t status;
        int eventID;
        const char* projectID;
        bool runs;
    } buttons[] = {{1, 113, "380", false}, {2, 114, "340", false}, {3, 115, "600", true},
                   {4, 116, "701", true},  {5, 117, "000", false}, {6, 118, "999", false},
                   {7, 119, "500", true},  {8, 101, "340", false}};
    for (const auto& button : buttons) {
        const Case c{"",    "D",   "JP-2",         button.status,    0,
                     "3.0", false, button.eventID, button.projectID, button.runs};
        bool runs = false;
        const Lines expected = rehearsed(c, runs);
        EXPECT_EQ(runs, c.runs) << button.status;
        EXPECT_EQ(performed(c), expected) << button.status;
    }
}

TEST_F(PressRehearsalTest, EndsWithOneSentenceThatNamesTheReason) {
    const struct {
        Words options;
        ExitCode code;
        std::string sentence;
    } cases[] = {
        {{"--driver=D", "--model=XY-1", "--button=1"},
         done,
         "The press would run project 110 (Scan application): post "
         "ReplyLaunchPlScanDistributedNotification."},
        {{"--driver=Panel Scanner", "--button=2"},
         done,
         "The press would run project 610 (PDF): scan into " + home + "/Scans, then open " + home +
             "/Scans/(scanned files) with /Applications/Viewer.app."},
        {{"--driver=D", "--model=XY-1", "--button=1", "--model-id=0501"},
         done,
         "The press would run project 701 (Own): scan into " + home +
             "/Documents, and then do nothing with the pages: its application is missing: "
             "/Applications/Gone.app."},
        {{"--driver=D", "--model=XY-1", "--button=2"},
         wouldNotRun,
         "Nothing would run: event 103 is refused, and the user is told that the button is not supported."},
        {{"--driver=D", "--model=XY-1", "--button=4"},
         wouldNotRun,
         "Nothing would run: no project is bound to event 130, and it has no default one."},
        {{"--driver=D", "--model=XY-1", "--button=77"},
         wouldNotRun,
         "Nothing would run: no event 177 is installed."},
        {{"--driver=D", "--button=2", "--model-id=0300", "--driver-version=2.6"},
         done,
         "The press would run project 910 (Pages): launch /Applications/Viewer.app, send Apple Event "
         "appl/unon."},
        {{"--driver=D", "--button=1", "--model-id=0300", "--driver-version=2.6"},
         wouldNotRun,
         "Nothing would run: project 520 (Network) would be started, but the user would be told: "
         "Message.Title: "
         "MSG.LowVersionDriver.Error."},
        {{"--driver=D", "--button=2"},
         wouldNotRun,
         "Nothing would run: event 114 is bound to project 340, but 340 (Copy) is left out: its application "
         "is "
         "missing: /Applications/Gone.app (" +
             paths::predefinedProjectFolder() + "/Copy.plg)."},
        {{"--driver=D", "--button=5"},
         wouldNotRun,
         "Nothing would run: event 117 is bound to the project that does nothing."},
        {{"--driver=D", "--button=6"},
         wouldNotRun,
         "Nothing would run: event 118 is bound to project 999, but there is no project 999 among them."},
        {{"--driver=D", "--button=7", "--ica-mode"},
         wouldNotRun,
         "Nothing would run: project 500 (Mail) is not available: the driver runs in ICA mode, and projects "
         "110, 500 and 520 do not work with that."},
        {{"--driver=PELOX Scanner", "--model=", "--button=1"},
         wouldNotRun,
         "Nothing would run: the button's record names no driver."},
    };
    for (const auto& c : cases) {
        Words words{"explain", "press"};
        words.insert(words.end(), c.options.begin(), c.options.end());
        const Outcome outcome = run(words);
        EXPECT_EQ(outcome.code, c.code) << c.sentence << outcome.err;
        EXPECT_EQ(outcome.out.substr(outcome.out.find("\n\n") + 2), c.sentence + "\n");
        EXPECT_EQ(platform::textAt(json(words), "outcome"), c.sentence);
    }
    const Outcome unknown = run({"explain", "press", "--driver=Desk Scaner", "--model=XY-1", "--button=1"});
    EXPECT_TRUE(
        unknown.out.ends_with("unless SANE lists a scanner of this name; did you mean Desk Scanner?\n"))
        << unknown.out;
    std::filesystem::remove(onDisk(paths::scanAssistantExecutable()));
    const Outcome outcome = run({"explain", "press", "--driver=D", "--button=1"});
    EXPECT_EQ(outcome.code, wouldNotRun);
    EXPECT_NE(
        outcome.out.find("Nothing would run: the scan assistant, which confirms the scanner, is missing"),
        std::string::npos)
        << outcome.out;
}

TEST_F(PressRehearsalTest, StepsNameFileKeyAndLine) {
    const Outcome outcome =
        run({"explain", "press", "--driver=D", "--model=XY-1", "--button=17", "--model-id=0500"});
    for (const std::string& part :
         {std::string("no section [Model0500]"), "line 1 of " + paths::deviceTableFile(),
          std::string("117 = 100 + button 17, as the row's NavBtnNum ends before that button"),
          std::string("DefaultProject of ") + paths::eventFolder()}) {
        EXPECT_NE(outcome.out.find(part), std::string::npos) << part << '\n' << outcome.out;
    }
    const Outcome bound =
        run({"explain", "press", "--driver=D", "--model=XY-1", "--button=1", "--model-id=0500"});
    EXPECT_NE(bound.out.find("key 110 of " + onDisk(settings) + "Model0500/ButtonEventProjectInfo.plist"),
              std::string::npos)
        << bound.out;
    const Outcome damaged =
        run({"explain", "press", "--driver=D", "--model=XY-1", "--button=1", "--model-id=0502"});
    EXPECT_NE(damaged.out.find("is damaged, so its bindings do not count"), std::string::npos) << damaged.out;
    const Outcome made = run({"explain", "press", "--driver=Desk Scanner", "--button=4"});
    EXPECT_NE(made.out.find("a folder that would first be made, with the projects from " +
                            paths::deviceSettingsFolder() + "/Desk/AppInfo1/en: "),
              std::string::npos)
        << made.out;
}

} // namespace
} // namespace trigora::tools
