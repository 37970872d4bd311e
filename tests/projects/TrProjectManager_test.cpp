#include "catalogue/events/TrEventInformation.h"
#include "projects/manager/TrProjectManager.h"
#include "tests/projects/ProjectTest.h"

#include <array>
#include <filesystem>

namespace trigora::test {

namespace {

/// A picture of one pixel.
constexpr std::array<std::uint8_t, 67> blackPixel{
    0x89, 0x50, 0x4e, 0x47, 0x0d, 0x0a, 0x1a, 0x0a, 0x00, 0x00, 0x00, 0x0d, 0x49, 0x48, 0x44, 0x52, 0x00,
    0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x01, 0x08, 0x00, 0x00, 0x00, 0x00, 0x3a, 0x7e, 0x9b, 0x55, 0x00,
    0x00, 0x00, 0x0a, 0x49, 0x44, 0x41, 0x54, 0x78, 0xda, 0x63, 0x60, 0x00, 0x00, 0x00, 0x02, 0x00, 0x01,
    0xe5, 0x27, 0xde, 0xfc, 0x00, 0x00, 0x00, 0x00, 0x49, 0x45, 0x4e, 0x44, 0xae, 0x42, 0x60, 0x82};

class TrProjectManagerTest : public ProjectTest {
protected:
    const std::string modelFolder = "~/Library/Preferences/PELOX/Trigora/Model00FE/AppInfo1";
    const Dictionary model{{"DeviceInfoModelID", 254}};

    static std::string titles(const ProjectList& list) {
        std::string text;
        for (const auto& project : list) {
            text += project->projectID().value_or("-") + ":" + project->projectName().value_or("-") + " ";
        }
        return text;
    }

    static std::string lines(const std::optional<ProjectMenu>& menu) {
        if (!menu) {
            return "no menu";
        }
        std::string text;
        for (const ProjectMenuItem& item : *menu) {
            text += item.title + (item.tag ? "#" + std::to_string(*item.tag) : "") + (item.image ? "*" : "") +
                    (item.project ? "=" + *item.project->projectID() : "") + "\n";
        }
        return text;
    }

    static ProjectList without(ProjectList list, const std::string& projectID) {
        std::erase_if(list, [&](const auto& project) { return project->projectID() == projectID; });
        return list;
    }

    std::string listing(const std::string& folder) {
        std::string text;
        const auto names = platform::current().fileSystem.contentsOfDirectory(absolute(folder));
        EXPECT_TRUE(names) << folder;
        for (const std::string& name : names ? *names : std::vector<std::string>{}) {
            text += name + " ";
        }
        return text;
    }

    void writePredefined(const std::string& projectID, const std::string& actionID = "A1") {
        writeProject(paths::predefinedProjectFolder() + "/P" + projectID + ".plg", projectID, "P" + projectID,
                     "ProjectType=0x8002\rActionID=" + actionID + "\r");
    }

    void setCapabilities(const std::string& entries) {
        PxIniParser::sharedParser()->removeAllItems();
        writeFile(paths::scannerCapabilityFile(), "[Model00FE]\n" + entries);
    }

    /// The driver of a model that keeps its projects apart.
    std::shared_ptr<TrScannerDriverInformation> modelDriver() {
        setCapabilities("ModelDependency=1\nDeviceSettingAlias=Dev\nJobDeviceType=1\n");
        return driverWithDevice(model);
    }

    std::shared_ptr<TrEventInformation> event(const std::string& projectIDs) {
        writeFile("~/e.plg", "[Event]\nProject=" + projectIDs + "\nAcceptableProjectType=0x0001,0x0002\n");
        PxIniParser::sharedParser()->removeAllItems();
        return TrEventInformation::initWithPath(absolute("~/e.plg"));
    }
};

TEST_F(TrProjectManagerTest, ReadsThePredefinedProjectsThatCanRun) {
    writePredefined("340");
    writePredefined("1000");
    writePredefined("110");
    writePredefined("520", "A2");
    writeFile(paths::predefinedProjectFolder() + "/Damaged.plg", "\xff\xfe\x01");
    makeFolder(paths::predefinedProjectFolder() + "/Folder.plg");
    EXPECT_EQ(titles(TrProjectManager().predefinedProjectList()), "110:P110 340:P340 1000:P1000 ");
    makeCurrentDriver({{"DeviceInfoIsRunICAMode", true}});
    EXPECT_EQ(titles(TrProjectManager().predefinedProjectList()), "340:P340 1000:P1000 ");
}

TEST_F(TrProjectManagerTest, ProjectsOfEqualIDsStayInOrder) {
    TrProjectManager manager;
    ProjectList list;
    for (int i = 0; i < 40; ++i) {
        list.push_back(std::make_shared<TrProjectInformation>());
        list.back()->setProjectID(i % 2 == 0 ? "702" : "701");
        list.back()->setProjectName(std::to_string(i));
    }
    manager.setMonitorProjectList(list);
    EXPECT_EQ(manager.monitorProjectList()[0]->projectName(), "1");
    EXPECT_EQ(manager.monitorProjectList()[19]->projectName(), "39");
    EXPECT_EQ(manager.monitorProjectList()[39]->projectName(), "38");
}

TEST_F(TrProjectManagerTest, ANewDriverGetsTheProjectsOfItsDevice) {
    userDefaults.values["AppleLanguages"] = Array{"fr"};
    userDefaults.values["AppleLocale"] = "fr_CA";
    const std::string device = paths::deviceSettingsFolder() + "/Dev/AppInfo1/en";
    writeProject(device + "/a.plg", "702", "Été");
    writeFile(device + "/a/String_fr.def", utf16("Caption=Lettre\r"));
    writePropertyList(device + "/a/ScanSetting.plist", Dictionary{{"resolution", 150}, {"folderPath", "/s"}});
    writeProject(device + "/b.plg", "701", "To/../Here");
    writeFile(device + "/.hidden", "");

    TrProjectManager manager;
    EXPECT_EQ(titles(manager.customProjectListWithScannerDriver(modelDriver())),
              "701:To/../Here 702:Lettre ");
    EXPECT_EQ(listing(modelFolder), "Lettre Lettre.plg To:..:Here To:..:Here.plg ");
    const auto& letter = manager.customProjectListWithScannerDriver(modelDriver())[1];
    EXPECT_EQ(letter->scanSettingsFilePath(), absolute(modelFolder + "/Lettre/ScanSetting.plist"));
    EXPECT_EQ(letter->resolutionFromScanSettings(), 150);
    EXPECT_EQ(readPropertyList(modelFolder + "/Lettre/ScanSetting.plist"),
              (Dictionary{{"resolution", 150}, {"folderPath", "/s"}}));
}

TEST_F(TrProjectManagerTest, ATakenNameLosesNothing) {
    const std::string device = paths::deviceSettingsFolder() + "/Model00FE/AppInfo1/en";
    writeProject(device + "/a.plg", "701", "Same");
    writeProject(device + "/b.plg", "702", "Same");
    writeProject(device + "/c.plg", "703", "d");
    writeFile(device + "/d.plg", utf16("[Launch]\rProjectID=704\r"));
    writeFile(device + "/e.plg", "\xff\xfe\x01");
    writeProject(device + "/f.plg", "705", "Lone");
    writeFile(device + "/Lone/kept", "");
    TrProjectManager manager;
    EXPECT_EQ(titles(manager.customProjectListWithScannerDriver(modelDriver())),
              "701:Same 702:Same 703:d 704:- 705:Lone ");
    EXPECT_EQ(listing(modelFolder), "Lone Same Same.plg b b.plg c c.plg d.plg e.plg f f.plg ");
    EXPECT_EQ(readFile(modelFolder + "/e.plg"), "\xff\xfe\x01");
    const auto& second = manager.customProjectListWithScannerDriver(modelDriver())[1];
    EXPECT_EQ(second->scanSettingsFilePath(), absolute(modelFolder + "/b/ScanSetting.plist"));

    // A folder that is set up anew has nothing to do with what was read before.
    std::filesystem::remove_all(onDisk(modelFolder));
    writeProject(device + "/b.plg", "702", "Other");
    EXPECT_EQ(titles(TrProjectManager().customProjectListWithScannerDriver(modelDriver())),
              "701:Same 702:Other 703:d 704:- 705:Lone ");

    // Nor is a name that another project has just given up still that project's.
    std::filesystem::remove_all(onDisk(modelFolder));
    writeProject(device + "/b.plg", "702", "a");
    EXPECT_EQ(titles(TrProjectManager().customProjectListWithScannerDriver(modelDriver())),
              "701:Same 702:a 703:d 704:- 705:Lone ");
}

TEST_F(TrProjectManagerTest, ADriverWithoutAModelSharesTheCommonFolder) {
    writeProject(paths::deviceSettingsFolder() + "/Dev/AppInfo1/en/a.plg", "701", "Device");
    setCapabilities("DeviceSettingAlias=Dev\n");
    TrProjectManager manager;
    EXPECT_EQ(titles(manager.customProjectListWithScannerDriver(driverWithDevice(model))), "");
    EXPECT_EQ(listing(customFolder), "");
    // The list is kept: what appears on disk later is seen by the next manager.
    writeProject(customFolder + "/My.plg", "701", "My");
    EXPECT_EQ(titles(manager.customProjectListWithScannerDriver(nullptr)), "");
    EXPECT_EQ(titles(TrProjectManager().customProjectListWithScannerDriver(nullptr)), "701:My ");
}

TEST_F(TrProjectManagerTest, DroppedProjectsLoseTheirFilesByName) {
    for (const auto& [file, projectID, name] :
         {std::tuple("a", "701", "A"), {"b", "702", "B"}, {"c", "703", "B"}, {"d", "704", "D"}}) {
        writeProject(customFolder + "/" + file + ".plg", projectID, name);
        writeProject(monitorFolder + "/" + file + ".plg", projectID, name);
    }
    TrProjectManager manager;
    const ProjectList custom = manager.customProjectListWithScannerDriver(nullptr);
    manager.setCustomProjectList(without(without(custom, "701"), "702"), nullptr);
    EXPECT_EQ(listing(customFolder), "b b.plg c c.plg d d.plg ");
    EXPECT_EQ(titles(manager.customProjectListWithScannerDriver(nullptr)), "703:B 704:D ");
    manager.setMonitorProjectList(without(without(manager.monitorProjectList(), "704"), "703"));
    EXPECT_EQ(listing(monitorFolder), "a a.plg b b.plg c c.plg ");
    EXPECT_EQ(journal.take(), (Lines{"post ScanSettingsDidChangeNotification",
                                     "post MonitorFolderSettingsDidChangeNotification"}));
    // A list that was never read has no files to delete.
    TrProjectManager other;
    other.setCustomProjectList({}, nullptr);
    EXPECT_EQ(listing(customFolder), "b b.plg c c.plg d d.plg ");
}

TEST_F(TrProjectManagerTest, TheScanListEndsWithNoActionForJobScanners) {
    writePredefined("110");
    writeProject(modelFolder + "/My.plg", "701", "My");
    stringTable.texts["Project.System.Default"] = "Nothing";
    TrProjectManager manager;
    for (const char* type : {"1", "2"}) {
        setCapabilities("ModelDependency=1\nJobDeviceType=" + std::string(type) + "\n");
        manager.setScanProjectListWithScannerDriver(driverWithDevice(model));
        EXPECT_EQ(titles(manager.scanProjectList()),
                  *type == '1' ? "110:P110 701:My 000:Nothing " : "110:P110 701:My ");
    }
    EXPECT_EQ(manager.projectInformationWithProjectID("701")->projectName(), "My");
    EXPECT_EQ(manager.projectInformationWithProjectID("0701"), nullptr);
    EXPECT_EQ(manager.folderProjectInformationWithProjectID("701"), nullptr);
}

TEST_F(TrProjectManagerTest, SomeProjectsAreNotForNewerDrivers) {
    idConverter.knownTwainIDs = {"D1"};
    const auto answers = [this](const std::shared_ptr<TrScannerDriverInformation>& driver) {
        std::string text;
        for (const char* projectID : {"110", "500", "520", "340", "701"}) {
            const auto project = std::make_shared<TrProjectInformation>();
            project->setProjectID(projectID);
            text += TrProjectManager::isAvailableProject(project, driver) ? '1' : '0';
        }
        return text;
    };
    EXPECT_EQ(answers(nullptr), "11111");
    EXPECT_EQ(answers(driverWithDevice({})), "11111");
    EXPECT_EQ(answers(driverWithDevice({{"DeviceInfoIsRunICAMode", true}})), "00011");
    idConverter.present = true;
    EXPECT_EQ(answers(driverWithDevice({})), "00011");
    EXPECT_FALSE(TrProjectManager::isPeloxScan2("D2"));
    EXPECT_FALSE(TrProjectManager::isPeloxScan2(std::nullopt));
}

TEST_F(TrProjectManagerTest, BuildsTheMenus) {
    stringTable.texts["Project.System.Default"] = "Nothing";
    for (const auto& icon : {paths::noActionProjectIcon(), paths::customProjectIcon()}) {
        writeFile(icon, std::string(blackPixel.begin(), blackPixel.end()));
    }
    for (const std::string& folder : {customFolder, monitorFolder}) {
        const std::string folderType =
            folder == customFolder ? "ProjectType=0x0001\r" : "ProjectType=0x0002\r";
        writeProject(folder + "/a.plg", "702", "A", folderType + "ActionID=A1\r");
        writeProject(folder + "/b.plg", "701", "B", folderType + "ActionID=A2\r");
        writeProject(folder + "/c.plg", "703", "", folderType + "ActionID=A1\r");
        writeProject(folder + "/d.plg", "704", "D", "ProjectType=0x0009\rActionID=A1\r");
    }
    writePredefined("110");
    TrProjectManager manager;
    EXPECT_EQ(lines(manager.scanProjectMenuWithEvent(event("110"))), "no menu");
    manager.setScanProjectListWithScannerDriver(nullptr);
    EXPECT_EQ(lines(manager.scanProjectMenuWithEvent(nullptr)), "no menu");
    EXPECT_EQ(lines(manager.scanProjectMenuWithEvent(event("110"))), "P110*=110\n");
    const std::string scan = "String.ColorType.BW.Text/MainWindow.DpiDescription.Text/"
                             "String.FileFormat.PDF.Text/MainWindow.TargetForderDescription.Text";
    EXPECT_EQ(lines(manager.scanProjectMenuWithEvent(event("700"))),
              "B - String.ScanArea.A4.Text/" + scan + "/A2 name*=701\nA - String.ScanArea.A4.Text/" + scan +
                  "/A1 name*=702\n - String.ScanArea.A4.Text/" + scan + "/A1 name*=703\n");
    EXPECT_EQ(lines(manager.folderProjectMenuWithEvent(event("700"))),
              "Nothing#0*\nA - A1 name*=702\n - A1 name*=703\n");
    EXPECT_EQ(lines(manager.folderProjectMenuWithEvent(nullptr)), "Nothing#0*\n");
    EXPECT_EQ(lines(manager.customScanProjectMenuWithScannerDriver(nullptr)), "B=701\nA=702\nD=704\n");
    EXPECT_EQ(lines(manager.customFolderProjectMenu()), "A=702\nB=701\nD=704\n");
    manager.setMonitorProjectList({});
    EXPECT_EQ(lines(manager.customFolderProjectMenu()), "no menu");
}

TEST_F(TrProjectManagerTest, SavesTheUsersProjectsOnly) {
    writePredefined("110");
    writeProject(customFolder + "/My.plg", "701", "My");
    writeProject(monitorFolder + "/Watch.plg", "702", "Watch");
    writeFile(customFolder + "/Damaged.plg", "\xff\xfe\x01");
    TrProjectManager manager;
    for (const auto& project : {manager.customProjectListWithScannerDriver(nullptr)[0],
                                manager.monitorProjectList()[0], manager.predefinedProjectList()[0]}) {
        project->setVersion("saved");
    }
    manager.saveProjectInformation();
    EXPECT_EQ(read(customFolder + "/My.plg")->version(), "saved");
    EXPECT_EQ(read(monitorFolder + "/Watch.plg")->version(), "saved");
    EXPECT_EQ(read(paths::predefinedProjectFolder() + "/P110.plg")->version(), std::nullopt);
    EXPECT_EQ(readFile(customFolder + "/Damaged.plg"), "\xff\xfe\x01");
}

} // namespace

} // namespace trigora::test
