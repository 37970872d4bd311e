#include "catalogue/events/TrEventInformation.h"

#include "catalogue/drivers/TrScannerDriverInformation.h"
#include "catalogue/drivers/TrScannerDriverManager.h"
#include "catalogue/events/TrMonitorEventInformation.h"
#include "files/InstalledPaths.h"
#include "files/PxIniParser.h"
#include "tests/fakes/PlatformTest.h"

#include <filesystem>

namespace trigora::test {

class TrEventInformationTest : public PlatformTest {
protected:
    using Texts = std::vector<std::string>;

    static std::string installed(const std::string& name) { return paths::eventFolder() + "/" + name; }

    /// Installs an event file, each under a name of its own, and reads it.
    std::shared_ptr<TrEventInformation> eventWithKeys(const std::string& keys, const std::string& name) {
        writeFile(installed(name + ".plg"), "[Event]\n" + keys);
        return TrEventInformation::initWithPath(installed(name + ".plg"));
    }

    std::shared_ptr<TrEventInformation> eventWithKeys(const std::string& keys) {
        return eventWithKeys(keys, "Event" + std::to_string(++lastNumber_));
    }

    void writeCaption(const std::string& folder, const std::string& caption) {
        writeFile(installed(folder + "/String.def"), "Caption=" + caption + "\nDescription=About it\n");
    }

    /// A driver of the model, which the capability file gives the alias A1 and as many buttons.
    std::shared_ptr<TrScannerDriverInformation> driverOfModel(int modelID, int buttons) {
        char section[32];
        std::snprintf(section, sizeof section, "[Model%04X]\n", static_cast<unsigned>(modelID));
        writeFile(paths::scannerCapabilityFile(),
                  section + ("DevInfAlias=A1\nNumJobEvents=" + std::to_string(buttons)) + "\n");
        PxIniParser::sharedParser()->removeAllItems();
        auto driver = TrScannerDriverInformation::initWithDriverInformation({});
        driver->setDeviceInfo(Dictionary{{"DeviceInfoModelID", modelID}});
        return driver;
    }

    void makeCurrent(int modelID, int buttons) {
        const auto manager = TrScannerDriverManager::sharedScannerDriverManager();
        manager->setScannerDriverList(Array{Dictionary{{"DriverInfoDrivername", "D"}}});
        manager->setCurrentScannerDriverWithName("D");
        driverOfModel(modelID, buttons);
        manager->currentScannerDriverInformation()->setDeviceInfo(Dictionary{{"DeviceInfoModelID", modelID}});
    }

private:
    int lastNumber_ = 0;
};

TEST_F(TrEventInformationTest, ShowGivesFlagsAndKind) {
    const struct {
        const char* show;
        bool isShow;
        bool isDisableEventMapping;
        std::int32_t type;
    } cases[] = {
        {"0x310", true, false, 0x4000},  {"0x1110", true, false, 0x1000},  {"0x20", false, true, -1},
        {"0x0210", true, false, 0x2000}, {"0x2010", true, false, -1},      {"0x0330", true, true, 0x4000},
        {"0x0410", true, false, 0x8000}, {"0x0510", true, false, 0x10000}, {"0x1", false, false, -1},
        {"", false, false, -1},          {"0x0310 ", true, false, 0x4000}, {"0x310 ", true, false, 0x1000},
    };
    for (const auto& [show, isShow, isDisableEventMapping, type] : cases) {
        const auto event = eventWithKeys(std::string("Show=") + show + "\n");
        EXPECT_EQ(event->isShow(), isShow) << show;
        EXPECT_EQ(event->isDisableEventMapping(), isDisableEventMapping) << show;
        EXPECT_EQ(event->eventType(), type) << show;
        EXPECT_EQ(event->isMonitorEvent(), type == 0x2000) << show;
    }
}

TEST_F(TrEventInformationTest, MissingKeysGiveTheDefaults) {
    const auto event = eventWithKeys("", "Plain");
    EXPECT_EQ(event->eventID(), "200");
    EXPECT_EQ(event->eventType(), -1);
    EXPECT_EQ(event->eventName(), std::nullopt);
    EXPECT_EQ(event->iconFilePath(), installed("Plain/icon.png"));
    EXPECT_EQ(event->defaultProjectID(nullptr), std::nullopt);
    EXPECT_EQ(*event->supportProjectIDList(), Texts{});
    EXPECT_EQ(*event->supportProjectTypeList(), (Texts{"0x8001", "0x8002", "0x8003"}));
    EXPECT_EQ(event->iconImage(), nullptr);
}

TEST_F(TrEventInformationTest, WhatCannotBeReadIsNoEvent) {
    EXPECT_EQ(TrEventInformation::initWithPath(installed("Missing.plg")), nullptr);
    makeFolder(installed("Folder.plg"));
    EXPECT_EQ(TrEventInformation::initWithPath(installed("Folder.plg")), nullptr);
    writeFile(installed("Broken.plg"), std::string("\xFF\xFE\x00\xD8\x41", 5));
    EXPECT_EQ(TrEventInformation::initWithPath(installed("Broken.plg")), nullptr);
}

TEST_F(TrEventInformationTest, ListsProjectsAndTypes) {
    const auto event = eventWithKeys("Project=700,101, 102\nAcceptableProjectType= 0x8002 ,\t0x7001\n");
    EXPECT_EQ(*event->supportProjectIDList(), (Texts{"700", "101", " 102"}));
    EXPECT_EQ(*event->supportProjectTypeList(), (Texts{"0x8002", "0x7001", "0x8001", "0x8003"}));
    EXPECT_FALSE(event->isSupportProjectType("0x07001"));
    const auto single = eventWithKeys("Project=701\n");
    const struct {
        const char* projectID;
        bool isSupported;
        bool isSupportedBySingle;
    } cases[] = {{"700", true, false}, {"701", true, false},  {"799", true, false}, {"800", false, false},
                 {"101", true, false}, {"102", false, false}, {"699", false, false}};
    for (const auto& [projectID, isSupported, isSupportedBySingle] : cases) {
        EXPECT_EQ(event->isSupportProjectID(projectID), isSupported) << projectID;
        EXPECT_EQ(single->isSupportProjectID(projectID), isSupportedBySingle) << projectID;
    }
}

TEST_F(TrEventInformationTest, ResourcesFollowTheCurrentModel) {
    for (const char* folder : {"Scan", "Scan2", "Alias", "Scan to PDF2"}) {
        writeCaption(folder, folder);
    }
    const struct {
        int modelID; ///< 0: no current driver
        int buttons;
        const char* eventID;
        const char* aliasResources;
        std::optional<std::string> caption;
        const char* icon;
        const char* defaultProject;
    } cases[] = {
        {0, 1, "100", "Alias", "Scan", "plain.png", "110"},
        {253, 1, "120", "Alias", "Scan", "plain.png", "110"},
        {254, 4, "100", "Alias", "Alias", "own.png", "105"},
        {254, 4, "100", "Nowhere", "Scan", "own.png", "105"},
        {254, 4, "100", "", "Scan", "own.png", "105"},
        {254, 4, "120", "Alias", "Scan2", "plain.png", "110"},
        {254, 1, "120", "Alias", "Scan to PDF2", "plain.png", "110"},
        {254, 1, "121", "Alias", "Scan2", "plain.png", "110"},
        {300, 0, "122", "Alias", "Scan2", "plain.png", "110"},
        {300, 0, "123", "Alias", "Alias", "own.png", "105"},
    };
    for (const auto& test : cases) {
        if (test.modelID != 0) {
            makeCurrent(test.modelID, test.buttons);
        }
        const auto event = eventWithKeys(
            std::string("EventID=") + test.eventID + "\nA1.Resources=" + test.aliasResources +
                "\nIcon=plain.png\nA1.Icon=own.png\nDefaultProject=110\nA1.DefaultProject=105\n",
            "Scan");
        const std::string label = std::to_string(test.modelID) + ", event " + test.eventID + ", " +
                                  std::to_string(test.buttons) + " buttons";
        EXPECT_EQ(event->eventName(), test.caption) << label;
        EXPECT_EQ(event->iconFilePath(), test.icon) << label;
        EXPECT_EQ(event->defaultProjectID(nullptr), test.defaultProject) << label;
        PxIniParser::sharedParser()->removeAllItems();
    }

    std::filesystem::remove_all(onDisk(installed("Scan to PDF2")));
    makeCurrent(254, 1);
    EXPECT_EQ(eventWithKeys("EventID=120\n", "Scan")->eventName(), "Scan");
    std::filesystem::remove_all(onDisk(installed("Scan2")));
    EXPECT_EQ(eventWithKeys("EventID=121\n", "Other")->eventName(), std::nullopt)
        << "not tested for existence";
}

TEST_F(TrEventInformationTest, EmptyEntriesOfTheModelFallBackWhenTheFileIsRead) {
    makeCurrent(300, 4);
    const auto event =
        eventWithKeys("EventID=100\nIcon=\nA1.Icon=\nDefaultProject=110\nA1.DefaultProject=\n", "Scan");
    EXPECT_EQ(event->iconFilePath(), installed("Scan/icon.png"));
    EXPECT_EQ(event->defaultProjectID(nullptr), "110");
    EXPECT_EQ(event->defaultProjectID(driverOfModel(300, 4)), "")
        << "an empty entry of the model is an answer";
}

TEST_F(TrEventInformationTest, DefaultProjectsFollowTheGivenModel) {
    const auto plain = eventWithKeys("EventID=100\nDefaultProject=110\nA1.DefaultProject=105\n");
    const auto pdf = eventWithKeys("EventID=120\nDefaultProject=110\nA1.DefaultProject=105\n");
    const auto without = eventWithKeys("EventID=100\nDefaultProject=110\n");
    const auto newer = driverOfModel(300, 1);
    EXPECT_EQ(plain->defaultProjectID(newer), "105");
    EXPECT_EQ(plain->defaultProjectID(driverOfModel(253, 1)), "110");
    EXPECT_EQ(plain->defaultProjectID(nullptr), "110");
    EXPECT_EQ(pdf->defaultProjectID(newer), "110");
    EXPECT_EQ(without->defaultProjectID(newer), "110");
}

TEST_F(TrEventInformationTest, AMonitorEventKeepsItsOwnSettings) {
    const auto event = eventWithKeys("EventID=400\nShow=0x0230\nDefaultProject=110\nA1.DefaultProject=105\n"
                                     "EventVersion=3\nProject=700\n");
    const auto monitor = TrMonitorEventInformation::createMonitorEventInforamtionWithEventInformation(*event);
    EXPECT_EQ(monitor->eventID(), "400");
    EXPECT_EQ(monitor->version(), "3");
    EXPECT_TRUE(monitor->isShow());
    EXPECT_FALSE(monitor->isDisableEventMapping());
    EXPECT_TRUE(monitor->isMonitorEvent());
    EXPECT_EQ(monitor->iconFilePath(), event->iconFilePath());
    event->supportProjectIDList()->push_back("101");
    EXPECT_TRUE(monitor->isSupportProjectID("101")) << "the lists are shared";
    EXPECT_EQ(monitor->connectedProjectID(driverOfModel(300, 1)), "110") << "it has no event file";

    monitor->setMonitorInformation(
        {{"folderPath", "/in"}, {"intervalTime", 2.5}, {"executiveProjectID", "701"}});
    EXPECT_EQ(monitor->monitorFolderPath(), "/in");
    EXPECT_EQ(monitor->timeInterval(), Value(2.5));
    EXPECT_EQ(monitor->connectedProjectID(nullptr), "701");
    monitor->setMonitorInformation({{"folderPath", 7}, {"executiveProjectID", Array{}}});
    EXPECT_EQ(monitor->monitorFolderPath(), std::nullopt);
    EXPECT_EQ(monitor->timeInterval(), std::nullopt);
    EXPECT_EQ(monitor->connectedProjectID(nullptr), "110");
}

} // namespace trigora::test
