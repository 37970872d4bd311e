#include "tests/tools/SettingsCommandTest.h"

namespace trigora::tools {
namespace {

class BindTest : public SettingsCommandTest {
protected:
    static std::string fileOfModel(const std::string& model) {
        return std::string(settings) + "Model" + model + "/ButtonEventProjectInfo.plist";
    }
};

TEST_F(BindTest, BindsAndUnbindsAndTellsTheAgent) {
    writePropertyList(bindings, Dictionary{{"101", "340"}, {"102", 7}});
    Outcome outcome = run({"bind", "100", "500"});
    EXPECT_EQ(outcome.code, done) << outcome.err;
    EXPECT_EQ(outcome.out, "Event 100 (Start) runs project 500 (Mail).\n"
                           "Note: scanners of a known model have bindings of their own and do not follow "
                           "this one; give --model for 0F01 (Desk Scanner), 0F02 (Panel Scanner).\n"
                           "The agent is not running; it reads this when it starts.\n");
    EXPECT_EQ(readPropertyList(bindings), (Dictionary{{"100", "500"}, {"101", "340"}, {"102", 7}}));
    EXPECT_EQ(journal.take(), Lines{scanChange});

    const AgentOnTheBus agent;
    outcome = run({"unbind", "100"});
    EXPECT_EQ(outcome.out, "Event 100 (Start) runs its default project again: 610.\nThe agent was told.\n");
    EXPECT_EQ(readPropertyList(bindings), (Dictionary{{"101", "340"}, {"102", 7}}));
    EXPECT_EQ(journal.take(), Lines{scanChange});
    EXPECT_FALSE(exists(watched));
}

TEST_F(BindTest, AModelHasItsOwnBindingsAndProjects) {
    writePropertyList("~/Library/Preferences/MRA2.3/Model0F01/ButtonEventProjectInfo.plist",
                      Dictionary{{"101", "340"}});
    EXPECT_EQ(json({"bind", "100", "701", "--model", "0f01"}),
              (Dictionary{{"agent", "not running"},
                          {"event", "100"},
                          {"file", onDisk(fileOfModel("0F01"))},
                          {"model", "0F01"},
                          {"notes", Array{}},
                          {"project", "701"}}));
    EXPECT_EQ(readPropertyList(fileOfModel("0F01")), (Dictionary{{"100", "701"}, {"101", "340"}}));
    EXPECT_TRUE(exists(std::string(modelProjects) + "Flat.plg")) << "came with the device";
    EXPECT_FALSE(exists(bindings));

    const Outcome noAction = run({"bind", "203", "000", "--model", "0F02"});
    EXPECT_EQ(noAction.code, done) << noAction.err;
    EXPECT_EQ(readPropertyList(fileOfModel("0F02")), (Dictionary{{"203", "000"}}));
    EXPECT_EQ(noAction.out.find("Note"), std::string::npos) << noAction.out;
    EXPECT_NE(run({"bind", "100", "610", "--model", "0F02"})
                  .out.find("never send event 100 (Start); they send 201"),
              std::string::npos);
}

TEST_F(BindTest, WithoutABusNobodyIsTold) {
    setenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/nonexistent", 1);
    EXPECT_EQ(platform::textAt(json({"bind", "100", "500"}), "agent"), "no session bus");
}

TEST_F(BindTest, SaysWhenTheBindingsCannotBeWritten) {
    writeFile("~/Library/Preferences/PELOX/Trigora/Settings", "no folder");
    const Outcome outcome = run({"bind", "100", "500"});
    EXPECT_EQ(outcome.code, failed);
    EXPECT_NE(outcome.err.find("could not be written to " + onDisk(bindings)), std::string::npos)
        << outcome.err;
    EXPECT_EQ(journal.take(), Lines{});
}

class WatchTest : public SettingsCommandTest {};

TEST_F(WatchTest, WatchesAFolderAndLeavesItAloneAgain) {
    writeProject(folderProjects, "Open", "701", "0x0002", "300");
    writePropertyList(watched,
                      Dictionary{{"2", Dictionary{{"folderPath", "/b"}, {"colour", "red"}}}, {"v", 2}});
    const Outcome outcome = run({"watch", "1", "~/Scans/../Scans/", "--every", "10", "--project", "701"});
    EXPECT_EQ(outcome.code, done) << outcome.err;
    EXPECT_EQ(outcome.out, "Watched folder 1 is " + home +
                               "/Scans: new files in it run project 701 (Open); it is looked at every 10 s.\n"
                               "The agent is not running; it reads this when it starts.\n");
    const Dictionary second{{"folderPath", "/b"}, {"colour", "red"}};
    const Dictionary first{
        {"folderPath", onDisk("~/Scans")}, {"intervalTime", 10}, {"executiveProjectID", "701"}};
    EXPECT_EQ(readPropertyList(watched),
              (Dictionary{{"1", first}, {"2", second}, {"3", Dictionary{}}, {"v", 2}}));
    EXPECT_EQ(journal.take(), Lines{folderChange});

    EXPECT_EQ(json({"unwatch", "1"}), (Dictionary{{"agent", "not running"},
                                                  {"file", onDisk(watched)},
                                                  {"folder", Value()},
                                                  {"formerFolder", home + "/Scans"},
                                                  {"notes", Array{}},
                                                  {"number", 1}}));
    EXPECT_EQ(readPropertyList(watched),
              (Dictionary{{"1", Dictionary{}}, {"2", second}, {"3", Dictionary{}}, {"v", 2}}));
    EXPECT_EQ(journal.take(), Lines{folderChange});
}

} // namespace
} // namespace trigora::tools
