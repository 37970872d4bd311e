#include "catalogue/events/TrEventManager.h"

#include "catalogue/events/TrEventInformation.h"
#include "catalogue/events/TrMonitorEventInformation.h"
#include "files/InstalledPaths.h"
#include "files/PxIniParser.h"
#include "tests/fakes/PlatformTest.h"

#include <filesystem>

#include <sys/stat.h>

namespace trigora::test {

class TrEventManagerTest : public PlatformTest {
protected:
    static constexpr const char* bindingsFile =
        "~/Library/Preferences/PELOX/Trigora/Settings/ButtonEventProjectInfo.plist";
    static constexpr const char* formerBindingsFile =
        "~/Library/Preferences/MRA2.3/ButtonEventProjectInfo.plist";
    static constexpr const char* watchedFile =
        "~/Library/Preferences/PELOX/Trigora/Settings/WatchedFolderSetting.plist";
    static constexpr const char* formerWatchedBindingsFile =
        "~/Library/Preferences/MRA2.3/MonitorEventProjectInfo.plist";

    static std::string formerWatchedFile(int number) {
        return "~/Library/Preferences/PELOX/Trigora/Settings/WatchedFolderSetting" + std::to_string(number) +
               ".plist";
    }

    void install(const std::string& name, const std::string& keys) {
        writeFile(paths::eventFolder() + "/" + name + ".plg", "[Event]\n" + keys);
    }
    void installJobTemplate() {
        install("Job", "EventID=200\nShow=0x310\nIcon=job.png\nDefaultProject=110\n");
        writeFile(paths::eventFolder() + "/Job/String.def", "Caption=Job\n");
    }
    void installMonitorEvent(const std::string& more = "") {
        install("Monitor", "EventID=400\nShow=0x0210\n" + more);
        writeFile(paths::eventFolder() + "/Monitor/String.def", "Caption=Folder\n");
    }

    static std::shared_ptr<TrEventManager> manager() { return TrEventManager::sharedEventManager(); }

    /// The IDs of the events with their names, e.g. "201 Job 01".
    static Lines described(const TrEventManager::EventList& events) {
        Lines lines;
        for (const auto& event : events) {
            lines.push_back(event->eventID().value_or("-") + " " + event->eventName().value_or("-"));
        }
        return lines;
    }

    /// Of each monitor event "project folder interval".
    static Lines watchedFolders() {
        Lines lines;
        for (const auto& event : manager()->monitorEventList()) {
            lines.push_back(event->connectedProjectID(nullptr).value_or("-") + " " +
                            event->monitorFolderPath().value_or("-") + " " +
                            event->timeInterval().value_or("-").description());
        }
        return lines;
    }
};

TEST_F(TrEventManagerTest, ReadsTheInstalledEventsInOrderOfTheirFiles) {
    installJobTemplate();
    install("b", "EventID=11\n");
    install("a", "EventID=12\n");
    writeFile(paths::eventFolder() + "/c.PLG", "[Event]\nEventID=13\n");
    makeFolder(paths::eventFolder() + "/d.plg");
    EXPECT_EQ(described(manager()->eventListWithEventType(-1, 9)), (Lines{"11 -", "12 -", "200 Job"}));
    EXPECT_EQ(manager()->eventInformationWithEventID("011"), nullptr) << "IDs compare as text";
    EXPECT_EQ(manager()->eventInformationWithEventID("12"), manager()->eventInformationWithEventID("12"));

    install("e", "EventID=14\n");
    manager()->reloadEventInformation();
    EXPECT_NE(manager()->eventInformationWithEventID("14"), nullptr);
}

TEST_F(TrEventManagerTest, UnknownJobIDsGiveNewJobEvents) {
    EXPECT_EQ(manager()->eventInformationWithEventID("250"), nullptr) << "nothing is installed";
    installJobTemplate();
    PxIniParser::sharedParser()->removeAllItems();
    TrEventManager::releaseSharedManager();
    for (const char* eventID : {"201", "250", "299"}) {
        const auto event = manager()->eventInformationWithEventID(eventID);
        ASSERT_NE(event, nullptr) << eventID;
        EXPECT_EQ(event->eventID(), eventID);
        EXPECT_EQ(event->eventName(), std::nullopt);
        EXPECT_EQ(event->iconFilePath(), std::nullopt);
        EXPECT_EQ(event->eventType(), 0x4000);
    }
    for (const char* eventID : {"300", "199", "", "x"}) {
        EXPECT_EQ(manager()->eventInformationWithEventID(eventID), nullptr) << eventID;
    }
}

TEST_F(TrEventManagerTest, PadsAndNamesJobEvents) {
    installJobTemplate();
    install("Zob1", "EventID=201\nShow=0x0310\n");
    const auto jobs = manager()->eventListWithEventType(0x4000, 4);
    EXPECT_EQ(described(jobs), (Lines{"201 Job 01", "202 02", "203 03", "204 04"}));
    EXPECT_EQ(jobs[0]->iconFilePath(), "job.png");
    EXPECT_EQ(jobs[1]->iconFilePath(), std::nullopt);
    EXPECT_EQ(manager()->eventListWithEventType(0x4000, 0).size(), 0U);

    // The new IDs run on from the number of events, whatever their IDs are.
    install("Zob2", "EventID=205\nShow=0x0310\n");
    install("Zob3", "EventID=195\nShow=0x0310\n");
    manager()->reloadEventInformation();
    EXPECT_EQ(described(manager()->eventListWithEventType(0x4000, 5)),
              (Lines{"195 -5", "201 Job 01", "204 04", "205 05", "205 05"}));
    EXPECT_EQ(described(manager()->eventListWithEventType(0x4000, 2)), (Lines{"195 -5", "201 Job 01"}));
    EXPECT_EQ(manager()->eventListWithEventType(0x4001, 9).size(), 4U)
        << "no padding, and the template stays";
}

TEST_F(TrEventManagerTest, JobsWithoutATemplateHaveNumbersOnly) {
    install("One", "EventID=201\nShow=0x0310\n");
    EXPECT_EQ(described(manager()->eventListWithEventType(0x4000, 3)), (Lines{"201 01"}));
}

TEST_F(TrEventManagerTest, EqualIDsStayInTheirOrder) {
    for (const char* name : {"a", "b", "c"}) {
        install(name,
                "EventID=" + std::string(*name == 'c' ? "5" : "10") + "\nShow=0x0110\nEventVersion=" + name);
    }
    const auto events = manager()->eventListWithEventType(0x1000, 9);
    ASSERT_EQ(events.size(), 3U);
    EXPECT_EQ(*events[0]->version() + *events[1]->version() + *events[2]->version(), "cab");
}

TEST_F(TrEventManagerTest, ButtonBindingsAreReadLazilyAndTakenOverFromTheFormerFile) {
    install("b", "EventID=11\nDefaultProject=110\n");
    writePropertyList(formerBindingsFile, Dictionary{{"11", "701"}, {"12", 702}});
    const auto event = manager()->eventInformationWithEventID("11");
    event->setConnectedProjectID("999");
    EXPECT_EQ(event->connectedProjectID(nullptr), "701") << "dropped, as no bindings had been read";
    EXPECT_EQ(manager()->projectIDWithEventID("12"), std::nullopt) << "a number is no binding";

    event->setConnectedProjectID("703");
    event->setConnectedProjectID(std::nullopt);
    EXPECT_EQ(event->connectedProjectID(nullptr), "703");
    EXPECT_FALSE(exists(bindingsFile));
    manager()->saveEventInformation();
    EXPECT_EQ(readPropertyList(bindingsFile), (Dictionary{{"11", "703"}, {"12", 702}}));
    EXPECT_EQ(readPropertyList(formerBindingsFile), (Dictionary{{"11", "701"}, {"12", 702}}));
    struct stat status {};
    ASSERT_EQ(stat(onDisk(bindingsFile).c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 07777U, 0666U);

    writePropertyList(bindingsFile, Dictionary{{"11", "704"}});
    TrEventManager::releaseSharedManager();
    EXPECT_EQ(event->connectedProjectID(nullptr), "704") << "an event finds the store made since";
}

TEST_F(TrEventManagerTest, TheFirstSaveMigratesBindingsNobodyAskedFor) {
    writePropertyList(formerBindingsFile, Dictionary{{"11", "701"}});
    manager()->saveEventInformation();
    EXPECT_EQ(readPropertyList(bindingsFile), (Dictionary{{"11", "701"}}));
    EXPECT_FALSE(exists(watchedFile)) << "without monitor events nothing is known of the folders";
}

TEST_F(TrEventManagerTest, EachModelHasItsOwnBindings) {
    const auto modelFile = [](const std::string& folder, const std::string& model) {
        return "~/Library/Preferences/" + folder + "/Model" + model + "/ButtonEventProjectInfo.plist";
    };
    const std::string current = "PELOX/Trigora/Settings";
    writePropertyList(modelFile("MRA2.3", "07"), Dictionary{{"11", "701"}});
    writePropertyList(modelFile(current, "08"), Dictionary{{"11", "708"}});
    manager()->setScanEventPathWithModelID("07");
    manager()->setProjectID("702", "12");
    manager()->setScanEventPathWithModelID("08");
    EXPECT_EQ(readPropertyList(modelFile(current, "07")), (Dictionary{{"11", "701"}, {"12", "702"}}));
    EXPECT_EQ(manager()->projectIDWithEventID("11"), "708");
    EXPECT_EQ(manager()->projectIDWithEventID("12"), std::nullopt);
    manager()->setScanEventPathWithModelID("07");
    EXPECT_EQ(manager()->projectIDWithEventID("12"), "702");
    EXPECT_FALSE(exists(bindingsFile));
}

TEST_F(TrEventManagerTest, OnlyChangedBindingsAreWritten) {
    writePropertyList(bindingsFile, Dictionary{{"11", "701"}});
    manager()->setScanEventPathWithModelID(std::nullopt);
    const auto inodeOf = [this](const char* path) {
        struct stat status {};
        EXPECT_EQ(stat(onDisk(path).c_str(), &status), 0);
        return status.st_ino;
    };
    const auto inode = inodeOf(bindingsFile);
    manager()->setScanEventPathWithModelID(std::nullopt);
    manager()->saveEventInformation();
    EXPECT_EQ(inodeOf(bindingsFile), inode) << "written without need";

    writePropertyList(bindingsFile, Dictionary{{"11", "704"}, {"13", "705"}});
    manager()->setScanEventPathWithModelID(std::nullopt);
    EXPECT_EQ(manager()->projectIDWithEventID("11"), "704") << "what another program wrote counts";

    manager()->removeProjectIDWithEventID("11");
    manager()->setScanEventPathWithModelID("08");
    EXPECT_EQ(readPropertyList(bindingsFile), (Dictionary{{"13", "705"}}));

    // Once written, the same bindings are not written again.
    manager()->setScanEventPathWithModelID(std::nullopt);
    manager()->setProjectID("706", "11");
    manager()->saveEventInformation();
    std::filesystem::remove(onDisk(bindingsFile));
    manager()->setScanEventPathWithModelID(std::nullopt);
    EXPECT_FALSE(exists(bindingsFile));
}

TEST_F(TrEventManagerTest, ADeletedFileBringsNoOtherBack) {
    writePropertyList(formerBindingsFile, Dictionary{{"11", "701"}});
    manager()->saveEventInformation();
    ASSERT_EQ(manager()->projectIDWithEventID("11"), "701");
    std::filesystem::remove(onDisk(bindingsFile));
    manager()->setScanEventPathWithModelID(std::nullopt);
    EXPECT_EQ(manager()->projectIDWithEventID("11"), std::nullopt);
    TrEventManager::releaseSharedManager();
    EXPECT_EQ(manager()->projectIDWithEventID("11"), std::nullopt) << "a catalogue made anew knows it, too";
}

TEST_F(TrEventManagerTest, BindingsThatAnotherProgramWroteFirstStay) {
    writePropertyList(formerBindingsFile, Dictionary{{"11", "701"}});
    manager()->setScanEventPathWithModelID(std::nullopt); // there is no file yet
    writePropertyList(bindingsFile, Dictionary{{"11", "702"}});
    manager()->setScanEventPathWithModelID(std::nullopt);
    EXPECT_EQ(manager()->projectIDWithEventID("11"), "702");
    EXPECT_EQ(readPropertyList(bindingsFile), (Dictionary{{"11", "702"}}));
}

TEST_F(TrEventManagerTest, BindingsThatCouldNotBeWrittenAreTriedAgain) {
    writeFile("~/Library/Preferences/PELOX/Trigora/Settings", "no folder");
    manager()->setScanEventPathWithModelID(std::nullopt);
    manager()->setProjectID("702", "12");
    manager()->saveEventInformation();
    std::filesystem::remove(onDisk("~/Library/Preferences/PELOX/Trigora/Settings"));
    manager()->saveEventInformation();
    EXPECT_EQ(readPropertyList(bindingsFile), (Dictionary{{"12", "702"}}));
}

TEST_F(TrEventManagerTest, DamagedBindingsAreKeptAside) {
    writePropertyList(formerBindingsFile, Dictionary{{"11", "701"}});
    const std::string kept = std::string(bindingsFile) + ".damaged";
    const std::string tooLong(platform::FileContents::longestSettings + 1, 'x');
    for (const std::string& bytes :
         {std::string(), std::string("<plist><dict><key>11"), std::string("bplist00\xFF\xFF"), tooLong}) {
        writeFile(bindingsFile, bytes);
        TrEventManager::releaseSharedManager();
        EXPECT_EQ(manager()->projectIDWithEventID("11"), std::nullopt) << "the former file stays out";
        manager()->setProjectID("702", "12");
        manager()->saveEventInformation();
        EXPECT_EQ(readFile(kept), bytes);
        EXPECT_EQ(readPropertyList(bindingsFile), (Dictionary{{"12", "702"}}));
    }

    std::filesystem::remove(onDisk(bindingsFile));
    writeFile(std::string(bindingsFile) + "/note", "mine");
    TrEventManager::releaseSharedManager();
    manager()->saveEventInformation();
    EXPECT_EQ(readFile(std::string(bindingsFile) + "/note"), "mine") << "nothing to write, so it stays";
    manager()->setProjectID("702", "12");
    manager()->saveEventInformation();
    EXPECT_EQ(readFile(kept + "/note"), "mine");
    EXPECT_EQ(readPropertyList(bindingsFile), (Dictionary{{"12", "702"}}));
}

TEST_F(TrEventManagerTest, WatchedFoldersComeFromTheirSettings) {
    installMonitorEvent();
    install("Zonitor", "EventID=401\nShow=0x0210\n");
    writePropertyList(watchedFile,
                      Dictionary{{"1", Dictionary{{"folderPath", "/in"}, {"intervalTime", "10"}}},
                                 {"3", Dictionary{{"executiveProjectID", "701"}}}});
    writePropertyList(formerWatchedFile(2), Dictionary{{"folderPath", "/former"}});
    EXPECT_EQ(watchedFolders(), (Lines{"- /in 10", "- - -", "701 - -"}));
    const auto second = manager()->monitorEventInformationWithMonitorEventName("Folder2");
    EXPECT_EQ(second, manager()->monitorEventList().at(1));
    EXPECT_EQ(manager()->monitorEventInformationWithMonitorEventName("Folder"), nullptr);

    second->setMonitorFolderPath("/new");
    manager()->reloadEventInformation();
    EXPECT_EQ(watchedFolders(), (Lines{"- /in 10", "- - -", "701 - -"})) << "what was not saved is lost";
}

TEST_F(TrEventManagerTest, WatchedFoldersAreTakenOverFromTheFormerFiles) {
    const struct {
        Dictionary bindings;
        Lines projects;
    } cases[] = {
        {{{"Monitor0", "701"}, {"Monitor1", "702"}, {"Monitor2", "703"}}, {"701", "702", "703"}},
        {{{"Monitor2", "703"}}, {"-", "-", "-"}}, // one key, so only the index 0 is looked for
        {{{"Monitor1", "702"}, {"Monitor2", "703"}}, {"-", "702", "-"}},
        {{{"a0", "701"}, {"b10", "710"}, {"c", "1"}}, {"710", "-", "-"}},
        {{{"a0", "701"}, {"b0", 5}}, {"701", "-", "-"}},
        {{}, {"-", "-", "-"}},
    };
    installMonitorEvent();
    writePropertyList(formerWatchedFile(2), Dictionary{{"folderPath", "/b"}, {"intervalTime", 30}});
    for (const auto& [bindings, projects] : cases) {
        writePropertyList(formerWatchedBindingsFile, bindings);
        TrEventManager::releaseSharedManager();
        EXPECT_EQ(watchedFolders(),
                  (Lines{projects[0] + " - -", projects[1] + " /b 30", projects[2] + " - -"}))
            << Value(bindings).description();
    }
    EXPECT_FALSE(exists(watchedFile));
    writePropertyList(formerWatchedBindingsFile, Dictionary{{"0", "701"}});
    TrEventManager::releaseSharedManager();
    manager()->saveEventInformation();
    EXPECT_EQ(readPropertyList(watchedFile),
              (Dictionary{{"1", Dictionary{{"executiveProjectID", "701"}}},
                          {"2", Dictionary{{"folderPath", "/b"}, {"intervalTime", 30}}},
                          {"3", Dictionary{}}}));
    EXPECT_TRUE(exists(formerWatchedFile(2)));
}

TEST_F(TrEventManagerTest, TheFirstSaveOfNoWatchedFoldersWritesEmptyEntries) {
    for (const char* defaultProject : {"", "DefaultProject=\n"}) {
        installMonitorEvent(defaultProject);
        TrEventManager::releaseSharedManager();
        manager()->saveEventInformation();
        EXPECT_EQ(readPropertyList(watchedFile),
                  (Dictionary{{"1", Dictionary{}}, {"2", Dictionary{}}, {"3", Dictionary{}}}));
    }
}

TEST_F(TrEventManagerTest, SavingKeepsWhatIsNotUnderstood) {
    installMonitorEvent("DefaultProject=110\n");
    const Dictionary asRead{
        {"1", Dictionary{{"folderPath", 7}, {"executiveProjectID", 701}, {"colour", "red"}}},
        {"2", "later"},
        {"3", Dictionary{{"folderPath", "/c"}, {"intervalTime", ""}}},
        {"4", Dictionary{{"folderPath", "/d"}}},
        {"version", 2}};
    writePropertyList(watchedFile, asRead);
    manager()->monitorEventList().at(2)->setMonitorFolderPath(std::nullopt);
    EXPECT_EQ(manager()->monitorEventList().at(2)->timeInterval(), std::nullopt) << "nothing is in it";
    manager()->monitorEventList().at(2)->setTimeInterval("");
    manager()->saveEventInformation();
    Dictionary expected = asRead;
    expected["3"] = Dictionary{{"executiveProjectID", "110"}};
    EXPECT_EQ(readPropertyList(watchedFile), expected);

    manager()->monitorEventList().at(0)->setMonitorFolderPath("/a");
    manager()->monitorEventList().at(0)->setConnectedProjectID("702");
    manager()->monitorEventList().at(1)->setMonitorFolderPath("/b");
    manager()->saveEventInformation();
    expected["1"] = Dictionary{{"folderPath", "/a"}, {"executiveProjectID", "702"}, {"colour", "red"}};
    expected["2"] = Dictionary{{"folderPath", "/b"}, {"executiveProjectID", "110"}};
    EXPECT_EQ(readPropertyList(watchedFile), expected);
}

TEST_F(TrEventManagerTest, EmptiesTheLoginScratchFolder) {
    const std::string scratch = "~/Library/Preferences/PELOX/Trigora/Temp/PeloxTrigoraLoginTemp";
    writeFile(scratch + "/left/over", "x");
    manager();
    EXPECT_TRUE(exists(scratch));
    EXPECT_FALSE(exists(scratch + "/left"));
}

TEST_F(TrEventManagerTest, ADroppedCatalogueDies) {
    installJobTemplate();
    const std::weak_ptr<TrEventManager> dropped = manager();
    const auto event = manager()->eventInformationWithEventID("200");
    event->connectedProjectID(nullptr);
    TrEventManager::releaseSharedManager();
    EXPECT_TRUE(dropped.expired());
}

} // namespace trigora::test
