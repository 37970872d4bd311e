#include "tests/tools/SettingsCommandTest.h"

namespace trigora::tools {
namespace {

class CatalogueCommandsTest : public SettingsCommandTest {
protected:
    /// Of each entry of a list "id: problem", "-" for none.
    static Lines problems(const Dictionary& object, const std::string& list) {
        Lines lines;
        for (const Value& entry : platform::arrayAt(object, list).value_or(Array())) {
            const Dictionary& fields = *entry.dictionary();
            lines.push_back(platform::textAt(fields, "id").value_or("?") + ": " +
                            platform::textAt(fields, "problem").value_or("-"));
        }
        return lines;
    }
};

TEST_F(CatalogueCommandsTest, EventsSayWhatTheyRunAndWhyNot) {
    writePropertyList(bindings, Dictionary{{"100", "799"}, {"205", "610"}, {"x", "610"}});
    writePropertyList(watched, Dictionary{{"1", Dictionary{{"folderPath", onDisk("~/Scans")},
                                                           {"intervalTime", 10},
                                                           {"executiveProjectID", "701"}}},
                                          {"2", Dictionary{{"folderPath", "/gone"}}}});
    writeProject(folderProjects, "Open", "701", "0x0002", "300");
    const Outcome outcome = run({"events"});
    EXPECT_EQ(outcome.code, done) << outcome.err;
    EXPECT_EQ(outcome.out,
              "EVENT  NAME   KIND           RUNS        BINDING  PROBLEM\n"
              "100    Start  button 0x1000  799         bound    there is no project 799\n"
              "101    Copy   button 0x1000  340 (Copy)  default  its application is missing: "
              "/Applications/Gone.app\n"
              "102    Fixed  button 0x1000  610 (PDF)   default\n"
              "200    Job    job 0x4000     610 (PDF)   default\n"
              "205    -      job 0x4000     610 (PDF)   bound\n\n"
              "WATCHED FOLDER  PATH" +
                  std::string(home.size() + 4, ' ') + "EVERY  RUNS        PROBLEM\n1               " + home +
                  "/Scans  10 s   701 (Open)\n2               /gone" + std::string(home.size() + 3, ' ') +
                  "-      -           there is no such folder: /gone\n3               -" +
                  std::string(home.size() + 7, ' ') + "-      -\n");
}

TEST_F(CatalogueCommandsTest, EventsAreThoseOfAModelOrAKind) {
    writePropertyList(std::string(settings) + "Model0F02/ButtonEventProjectInfo.plist",
                      Dictionary{{"202", "500"}, {"100", "610"}});
    const std::array<std::pair<Words, Lines>, 5> cases{{
        {{"events", "--model", "0f02"}, {"201: -", "202: -", "203: -", "100: -"}},
        {{"events", "--model", "0F02", "--kind", "job"}, {"201: -", "202: -", "203: -"}},
        {{"events", "--model", "0F01", "--kind", "0x4000"}, {}},
        {{"events", "--kind", "job"}, {"200: -"}},
        {{"events", "--kind", "folder"}, {}},
    }};
    for (const auto& [words, listed] : cases) {
        EXPECT_EQ(problems(json(words), "events"), listed) << words.back();
    }
    EXPECT_NE(run({"events", "--model", "0F03"}).err.find("known of model 0F03"), std::string::npos);
}

TEST_F(CatalogueCommandsTest, ProjectsSayWhyTheyAreNotAvailable) {
    writeFile(paths::predefinedProjectFolder() + "/Noise.plg", "\xFF\xFE?");
    writeProject(paths::predefinedProjectFolder() + "/", "Lost", "620", "0x8001", "999");
    writeProject(paths::predefinedProjectFolder() + "/", "Idle", "630", "0x8002", "");
    writeFile(std::string(ownProjects) + "Cut/ScanSetting.plist", "<plist>");
    writeProject(ownProjects, "Cut", "701", "0x0001", "", std::string(ownProjects) + "Cut/ScanSetting.plist");
    writeProject(ownProjects, "User", "702", "0x0001", "900", "", "[Event_Launch_MacX]\nAppPath=/opt/gone\n");
    writeProject(folderProjects, "Print", "701", "0x0002", "310");
    idConverter.present = true;
    idConverter.knownTwainIDs = {"Panel Scanner"};

    const std::string folder = paths::predefinedProjectFolder();
    EXPECT_EQ(
        problems(json({"projects"}), "projects"),
        (Lines{"500: -", "610: -",
               "701: its scan settings are damaged: " + onDisk(ownProjects) +
                   "Cut/ScanSetting.plist; the default ones count",
               "702: its application is missing: /opt/gone",
               "340: its application is missing: /Applications/Gone.app", "630: it has no action",
               "620: no action 999 is installed", "?: damaged, or no project file: " + folder + "/Noise.plg",
               "701: its application is missing: /Applications/Gone.app"}));
    const Dictionary ofModel = json({"projects", "--model", "0F02"});
    EXPECT_EQ(problems(ofModel, "projects").front(),
              "500: not for this driver, which the newer scanning application serves");
    Lines available;
    for (const Value& entry : *ofModel.at("projects").array()) {
        if (platform::booleanAt(*entry.dictionary(), "available").value_or(false)) {
            available.push_back(platform::textAt(*entry.dictionary(), "name").value_or("?"));
        }
    }
    EXPECT_EQ(available, (Lines{"PDF", "Cut", "User", "Project.System.Default"}));
}

TEST_F(CatalogueCommandsTest, ActionsAndDriversAreListed) {
    EXPECT_EQ(problems(json({"actions"}), "actions"),
              (Lines{"310: its application is missing: /Applications/Gone.app", "300: -"}));
    writeFile(std::string(settings) + "ScannerDrivers.ini",
              "[Mine]\nDevice=test:0\n[Desk Scanner]\nModelID=0F07\n");
    EXPECT_EQ(run({"drivers"}).out, "DRIVER         MODEL  TYPE  BUTTONS  EVENT KINDS  PROJECTS\n"
                                    "Desk Scanner   0F07   0     0        0x1001       shared\n"
                                    "Mine           -      -     -        -            -\n"
                                    "Panel Scanner  0F02   1     3        0x4000       shared\n"
                                    "-              0F01   0     4        0x1000       its own\n");
}

TEST_F(CatalogueCommandsTest, LookingChangesNothing) {
    writeFile("~/Library/Preferences/Mosaro Temp/page.jpg", "being mailed");
    writeFile("~/Library/Preferences/PELOX/Trigora/Temp/PeloxTrigoraLoginTemp/login", "in use");
    writePropertyList("~/Library/Preferences/MRA2.3/ButtonEventProjectInfo.plist",
                      Dictionary{{"100", "500"}});
    const auto before = tree();
    for (const Words& words : {Words{"events"}, Words{"events", "--model", "0F01"}, Words{"projects"},
                               Words{"projects", "--model", "0F01"}, Words{"actions"}, Words{"drivers"}}) {
        EXPECT_EQ(run(words).code, done) << words[0];
        EXPECT_EQ(tree(), before) << words[0];
    }
    EXPECT_EQ(journal.take(), Lines{});
}

TEST_F(CatalogueCommandsTest, NothingIsListedWhereNothingIsInstalled) {
    std::filesystem::remove_all(onDisk(paths::resourcesFolder()));
    const Outcome outcome = run({"events"});
    EXPECT_EQ(outcome.code, notFound);
    EXPECT_NE(outcome.err.find("--root"), std::string::npos) << outcome.err;
}

} // namespace
} // namespace trigora::tools
