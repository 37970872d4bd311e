#include "projects/information/TrProjectInformation.h"
#include "projects/settings/ScanSettingSchema.h"
#include "tests/tools/SettingsCommandTest.h"

#include "catalogue/actions/TrActionInformation.h"
#include "files/PxDefParser.h"
#include "files/PxIniParser.h"

#include <set>

namespace trigora::tools {
namespace {

class ProjectTest : public SettingsCommandTest {
protected:
    std::shared_ptr<TrProjectInformation> read(const std::string& path) {
        PxIniParser::sharedParser()->removeAllItems();
        PxDefParser::sharedDefParser()->removeAllItems();
        EXPECT_TRUE(exists(path)) << path;
        return TrProjectInformation::initWithPath(onDisk(path));
    }
};

TEST_F(ProjectTest, NewProjectsHaveTheirSettingsAndAFreeID) {
    writePropertyList(bindings, Dictionary{{"100", "701"}});
    const Outcome outcome = run({"project", "new", "Größe/1", "resolution=600", "fileFormat=multitiff",
                                 "imageType=0", "TwainUI=yes", "folderPath=~/Scans",
                                 "prefix=", "extFeatureBit=4294967295", "ipAddress=L", "--action", "300"});
    EXPECT_EQ(outcome.code, done) << outcome.err;
    EXPECT_EQ(outcome.out, "Project 702 (Größe/1) was made.\n"
                           "The agent is not running; it reads this when it starts.\n");
    EXPECT_EQ(journal.take(), Lines{scanChange});
    const auto project = read(std::string(ownProjects) + "Größe:1.plg");
    EXPECT_EQ(project->projectName(), "Größe/1");
    EXPECT_EQ(project->projectID(), "702") << "event 100 must not run it because 701 was deleted once";
    EXPECT_EQ(project->type(), "0x0001");
    EXPECT_TRUE(project->isRunableProject());
    EXPECT_EQ(project->resolutionFromScanSettings(), 600);
    EXPECT_EQ(project->fileFormatFromScanSettings(), 4);
    EXPECT_EQ(project->isTwainUIFromScanSettings(), true);
    EXPECT_EQ(project->folderPathFromScanSettings(), onDisk("~/Scans"));
    EXPECT_EQ(project->prefixFromScanSettings(), "");
    EXPECT_EQ(project->extFeatureBitFromScanSettings(), Value(std::int64_t{4294967295}));

    // What the help offers is what scan settings hold.
    std::set<std::string> keys;
    for (const auto& [key, value] : project->scanSettings()) {
        keys.insert(key);
    }
    std::set<std::string> offered;
    for (const ScanSetting& setting : scan_settings::all) {
        offered.emplace(setting.key);
    }
    EXPECT_EQ(keys, offered);
    EXPECT_EQ(offered.size(), 25U);
}

TEST_F(ProjectTest, EachListHasItsPlaceAndItsIDs) {
    installApplication("/Applications/My Editor.app");
    EXPECT_EQ(run({"project", "new", "A", "--model", "0F01"}).code, done);
    EXPECT_EQ(read(std::string(modelProjects) + "A.plg")->projectID(), "702") << "701 came with the device";
    EXPECT_EQ(journal.take(), Lines{scanChange});
    EXPECT_EQ(run({"project", "new", "A", "--model", "0F02"}).code, done);
    EXPECT_EQ(read(std::string(ownProjects) + "A.plg")->projectID(), "701");
    journal.take();
    EXPECT_EQ(run({"project", "new", "B", "--folder", "--application", "/Applications/My Editor.app"}).code,
              done);
    EXPECT_EQ(journal.take(), Lines{folderChange});
    const auto project = read(std::string(folderProjects) + "B.plg");
    EXPECT_EQ(project->projectID(), "701");
    EXPECT_EQ(project->type(), "0x0002");
    EXPECT_EQ(project->actionInformation()->actionID(), "900");
    EXPECT_EQ(project->actionInformation()->applicationPath(), "/Applications/My Editor.app");
    EXPECT_EQ(project->actionInformation()->option(), "0x0001");
}

TEST_F(ProjectTest, CopiesAreTheUsersOwn) {
    const Dictionary made = json({"project", "copy", "610", "Mine", "resolution=400"});
    EXPECT_EQ(platform::textAt(made, "project"), "701");
    const auto copy = read(std::string(ownProjects) + "Mine.plg");
    EXPECT_EQ(copy->type(), "0x0001");
    EXPECT_EQ(copy->resolutionFromScanSettings(), 400);
    EXPECT_EQ(copy->folderPathFromScanSettings(), onDisk("~/Scans"));
    EXPECT_EQ(copy->projectIDFromScanSettings(), "701");
    EXPECT_EQ(readPropertyList(paths::predefinedProjectFolder() + "/PDF/ScanSetting.plist").at("resolution"),
              Value(200));
}

TEST_F(ProjectTest, SettingScanSettingsLeavesTheProjectFileAlone) {
    const std::string settingsFile = std::string(ownProjects) + "Mine/ScanSetting.plist";
    writePropertyList(settingsFile, Dictionary{{"resolution", 100}, {"ipAddress", "L"}, {"own", "kept"}});
    writeProject(ownProjects, "Mine", "701", "0x0001", "900", settingsFile,
                 "Colour=red\n[Event_Launch_MacX]\nAppPath=/media/unplugged/Editor\n");
    const std::string projectFile = readFile(std::string(ownProjects) + "Mine.plg");
    const Outcome outcome = run({"project", "set", "701", "resolution=150", "ipAddress="});
    EXPECT_EQ(outcome.code, done) << outcome.err;
    EXPECT_NE(outcome.out.find("Note: its application is missing: /media/unplugged/Editor."),
              std::string::npos);
    EXPECT_EQ(readFile(std::string(ownProjects) + "Mine.plg"), projectFile);
    const Dictionary written = readPropertyList(settingsFile);
    EXPECT_EQ(written.at("resolution"), Value(150));
    EXPECT_EQ(written.at("own"), Value("kept"));
    EXPECT_FALSE(written.contains("ipAddress"));
    EXPECT_EQ(journal.take(), Lines{scanChange});

    EXPECT_EQ(run({"project", "set", "701", "--action", "300"}).code, done);
    const auto project = read(std::string(ownProjects) + "Mine.plg");
    EXPECT_EQ(project->actionInformation()->actionID(), "300");
    EXPECT_EQ(project->resolutionFromScanSettings(), 150);
}

TEST_F(ProjectTest, DeletingRemovesOneProjectAndNoMore) {
    const std::string own = ownProjects;
    writeProject(own, "Twin", "701", "0x0001", "300");
    writeProject(own, "Other", "702", "0x0001", "300");
    writeFile(own + "Other/String.def", "Caption=Twin\n");
    writeFile(own + "Twin/scan.pdf", "a scan");
    writePropertyList(bindings, Dictionary{{"100", "701"}});
    Outcome outcome = run({"project", "delete", "701"});
    EXPECT_EQ(outcome.code, failed);
    EXPECT_NE(outcome.err.find("runs for event 100;"), std::string::npos) << outcome.err;
    EXPECT_EQ(run({"unbind", "100"}).code, done);
    outcome = run({"project", "delete", "701"});
    EXPECT_EQ(outcome.code, failed);
    EXPECT_NE(outcome.err.find("scan.pdf"), std::string::npos) << outcome.err;
    EXPECT_TRUE(exists(own + "Twin/scan.pdf"));
    journal.take();

    EXPECT_EQ(run({"project", "delete", "701", "--force"}).code, done);
    EXPECT_EQ(journal.take(), Lines{scanChange});
    EXPECT_FALSE(exists(own + "Twin.plg"));
    EXPECT_FALSE(exists(own + "Twin"));
    EXPECT_TRUE(exists(own + "Other.plg")) << "has the same name";

    writeProject(folderProjects, "Open", "701", "0x0002", "300");
    writePropertyList(watched, Dictionary{{"2", Dictionary{{"executiveProjectID", "701"}}}});
    EXPECT_NE(run({"project", "delete", "701", "--folder"}).err.find("watched folder 2"), std::string::npos);
    EXPECT_EQ(run({"project", "delete", "701", "--folder", "--force"}).code, done);
    EXPECT_FALSE(exists(std::string(folderProjects) + "Open.plg"));
}

TEST_F(ProjectTest, DeletingNeverTakesAnothersFolder) {
    writeProject(ownProjects, "..", "701", "0x0001", "300");
    const auto before = tree();
    const Outcome outcome = run({"project", "delete", "701", "--force"});
    EXPECT_EQ(outcome.code, failed);
    EXPECT_NE(outcome.err.find("because of its name"), std::string::npos) << outcome.err;
    EXPECT_EQ(tree(), before);
}

TEST_F(ProjectTest, AChangeThatFailsHalfWayIsTakenBack) {
    writeProject(ownProjects, "Mine", "701", "0x0001", "300");
    makeFolder(std::string(ownProjects) + "Mine/ScanSetting.plist"); // cannot be written
    makeFolder("~/Documents");
    const auto before = tree();
    const Outcome outcome = run({"project", "set", "701", "resolution=150", "--application", "/usr/bin/env"});
    EXPECT_EQ(outcome.code, failed);
    EXPECT_EQ(tree(), before);
    EXPECT_EQ(journal.take(), Lines{});
}

TEST_F(ProjectTest, NewProjectsHaveTheDefaultsOfTheAgent) {
    std::filesystem::copy(TRIGORA_TREE "/Applications", onDisk("/Applications"),
                          std::filesystem::copy_options::recursive |
                              std::filesystem::copy_options::overwrite_existing);
    ASSERT_EQ(run({"project", "new", "Letters"}).code, done);
    const Dictionary made = readPropertyList(std::string(ownProjects) + "Letters/ScanSetting.plist");
    EXPECT_EQ(platform::integerAt(made, "documentSize"), 1);
    EXPECT_NE(run({"projects", "--model", "0F02"}).out.find("No action"), std::string::npos)
        << run({"projects", "--model", "0F02"}).out;
}

TEST_F(ProjectTest, WhatCannotBeWrittenLeavesNothingBehind) {
    makeFolder("~/Documents");
    writeFile("~/Library/Preferences/PELOX/Trigora/AppInfo1", "no folder");
    const auto before = tree();
    EXPECT_EQ(run({"project", "new", "A"}).code, failed);
    EXPECT_EQ(tree(), before);
    EXPECT_EQ(journal.take(), Lines{});
}

} // namespace
} // namespace trigora::tools
