#include "agent/event/ScanEventRecord.h"
#include "agent/service/DeviceTable.h"
#include "agent/service/ScanEventMapping.h"
#include "catalogue/actions/TrActionManager.h"
#include "catalogue/drivers/TrScannerDriverInformation.h"
#include "catalogue/drivers/TrScannerDriverManager.h"
#include "catalogue/events/TrEventInformation.h"
#include "catalogue/events/TrEventManager.h"
#include "projects/information/TrProjectInformation.h"
#include "projects/manager/TrProjectManager.h"
#include "tests/fakes/PlatformTest.h"

#include <filesystem>

namespace trigora {
namespace {

using namespace test;

/// The installed tree as the build makes it, below the test's own root.
class InstalledTreeTest : public PlatformTest {
protected:
    InstalledTreeTest() {
        makeFolder("/Applications");
        std::filesystem::copy(TRIGORA_TREE "/Applications", onDisk("/Applications"),
                              std::filesystem::copy_options::recursive);
    }

    void speak(const std::string& language, const std::string& locale) {
        userDefaults.values = {{"AppleLanguages", Array{language}}, {"AppleLocale", locale}};
        userDefaults.localeIdentifier = locale;
        TrEventManager::releaseSharedManager();
        TrProjectManager::releaseSharedManager();
    }
    static std::vector<std::string> names(const ProjectList& projects) {
        std::vector<std::string> result;
        for (const auto& project : projects) {
            result.push_back(project->projectID().value_or("?") + ' ' + project->projectName().value_or("?"));
        }
        return result;
    }
};

TEST_F(InstalledTreeTest, EveryEventIsShownAndRunsSomethingByDefault) {
    const auto events = TrEventManager::sharedEventManager();
    const auto projects = TrProjectManager::sharedProjectManager();
    projects->setScanProjectListWithScannerDriver(nullptr);
    const std::array<std::pair<std::string, std::string>, 5> expected{
        {{"100", "620"}, {"101", "640"}, {"102", "500"}, {"105", "610"}, {"200", "610"}}};
    for (const auto& [eventID, projectID] : expected) {
        SCOPED_TRACE(eventID);
        const auto event = events->eventInformationWithEventID(eventID);
        ASSERT_NE(event, nullptr);
        EXPECT_TRUE(event->isShow());
        EXPECT_TRUE(event->eventName());
        EXPECT_NE(event->iconImage(), nullptr);
        EXPECT_EQ(event->defaultProjectID(nullptr), projectID);
        const auto project = projects->projectInformationWithProjectID(projectID);
        ASSERT_NE(project, nullptr);
        EXPECT_TRUE(event->isSupportProjectID(projectID));
        EXPECT_TRUE(project->isRunableProject());
    }
    EXPECT_EQ(events->monitorEventList().size(), 3U);
}

TEST_F(InstalledTreeTest, PredefinedProjectsAppearWithTheirApplications) {
    EXPECT_EQ(names(TrProjectManager::sharedProjectManager()->predefinedProjectList()),
              (std::vector<std::string>{"500 Scan to e-mail", "610 Scan to PDF", "620 Scan to folder",
                                        "630 Scan and announce", "640 Scan to printer"}));
    makeFolder("/Applications/Pelox Software/PELOX Scan.app");
    makeFolder("/Applications/Pelox Software/Duplora.app");
    makeFolder("/Applications/Pelox Software/Fotilo.app");
    speak("fr", "fr_FR");
    EXPECT_EQ(names(TrProjectManager::sharedProjectManager()->predefinedProjectList()),
              (std::vector<std::string>{"110 PELOX Scan", "340 Copier", "380 Photo",
                                        "500 Numérisation vers courriel", "520 PELOX Scan (réseau)",
                                        "610 Numérisation en PDF", "620 Numérisation vers dossier",
                                        "630 Numériser et annoncer", "640 Numérisation vers imprimante"}));
}

TEST_F(InstalledTreeTest, AScannerComesWithProjectsInTheUsersLanguage) {
    const std::array<std::pair<std::string, std::vector<std::string>>, 4> expected{
        {{"de", {"701 Scan als PDF", "702 Scan als JPEG"}},
         {"fr_CA", {"701 Numérisation en PDF", "702 Numérisation en JPEG"}},
         {"ja", {"701 PDFへスキャン", "702 JPEGへスキャン"}},
         {"sv", {"701 Scan to PDF", "702 Scan to JPEG"}}}};
    for (const auto& [locale, projectNames] : expected) {
        SCOPED_TRACE(locale);
        std::filesystem::remove_all(home + "/Library");
        speak(locale.substr(0, 2), locale);
        const auto driver = TrScannerDriverInformation::initWithDriverInformation(
            {{"DriverInfoDrivername", "SANE Test Scanner"}});
        driver->setDeviceInfo(Dictionary{{"DeviceInfoModelID", 0x0F01}});
        const ProjectList projects =
            TrProjectManager::sharedProjectManager()->customProjectListWithScannerDriver(driver);
        ASSERT_EQ(names(projects), projectNames);
        EXPECT_EQ(projects[0]->documentSizeFromScanSettings(), locale == "fr_CA" ? 1 : 0) << "Letter or A4";
        EXPECT_EQ(projects[0]->fileFormatFromScanSettings(), 1);
        EXPECT_EQ(projects[1]->fileFormatFromScanSettings(), 0);
        EXPECT_TRUE(projects[0]->isRunableProject() && projects[1]->isRunableProject());
    }
}

TEST_F(InstalledTreeTest, EveryRowOfTheDeviceTableIsReached) {
    const struct {
        const char* driver;
        int modelID;
        std::uint32_t eventStatus;
        std::int32_t eventID;
        int row; ///< -1 for none
    } presses[] = {
        {"SANE Test Scanner", 0x0F01, 4, 105, 0},
        {"SANE Test Scanner", 0x0F01, 5, 103, 0}, // refused
        {"SANE Test Scanner", 0x0F01, 7, 100, 0},
        {"SANE Test Scanner", 0x0F01, 8, 108, 0},
        {"SANE Test Duplex Scanner", 0x0F03, 0x52, 105, 1}, // known by its alias; with feature bits
        {"SANE Test Duplex Scanner", 0x0F03, 3, 104, 1},    // refused
        {"SANE Test Sheet Scanner", 0x0F05, 2, 101, 2},
        {"SANE Test Panel Scanner", 0x0F02, 3, 203, -1},
    };
    const auto table = readDeviceTable();
    for (const auto& press : presses) {
        const ScanEvent event{
            .modelName = press.driver, .driverName = press.driver, .eventStatus = press.eventStatus};
        const ScanEventMapping mapping = SM_MappingEventIDWithDevInfo(
            currentEventOf(event), Dictionary{{"DeviceInfoModelID", press.modelID}}, table);
        EXPECT_EQ(mapping.eventID, press.eventID) << press.driver << ' ' << press.eventStatus;
        EXPECT_EQ(mapping.row ? static_cast<int>(*mapping.row) : -1, press.row) << press.driver;
    }
}

TEST_F(InstalledTreeTest, ScannersAreOfEveryKindThatEventsAreOf) {
    const std::pair<int, std::int32_t> kinds[] = {
        {0x0F01, 0x1000}, {0x0F02, 0x4000}, {0x0F03, 0x1001}, {0x0F04, 0x8000}, {0x0F05, 0x10000}};
    for (const auto& [modelID, kind] : kinds) {
        const auto driver = TrScannerDriverInformation::initWithDriverInformation({});
        driver->setDeviceInfo(Dictionary{{"DeviceInfoModelID", modelID}});
        EXPECT_EQ(driver->supportEventType(), kind) << modelID;
        EXPECT_EQ(driver->duplexPaperMinSize().has_value(), modelID == 0x0F03);
    }
    speak("en", "en_GB");
    const auto drivers = TrScannerDriverManager::sharedScannerDriverManager();
    drivers->setScannerDriverList(Array{Dictionary{{"DriverInfoDrivername", "SANE Test Duplex Scanner"}}});
    drivers->setCurrentScannerDriverWithName("SANE Test Duplex Scanner");
    const auto driver = drivers->currentScannerDriverInformation();
    driver->setDeviceInfo(Dictionary{{"DeviceInfoModelID", 0x0F03}});
    const auto event = TrEventManager::sharedEventManager()->eventInformationWithEventID("100");
    EXPECT_EQ(event->eventName(), "Both sides") << "the texts of the model's alias";
    EXPECT_EQ(event->defaultProjectID(driver), "610");
    EXPECT_EQ(event->defaultProjectID(nullptr), "610") << "read while that scanner was the current one";
}

TEST_F(InstalledTreeTest, AJobButtonCanBeToldToDoNothing) {
    const auto driver = TrScannerDriverInformation::initWithDriverInformation({});
    driver->setDeviceInfo(Dictionary{{"DeviceInfoModelID", 0x0F02}});
    const auto projects = TrProjectManager::sharedProjectManager();
    projects->setScanProjectListWithScannerDriver(driver);
    const auto event = TrEventManager::sharedEventManager()->eventInformationWithEventID("203");
    ASSERT_NE(event, nullptr);
    const auto menu = projects->scanProjectMenuWithEvent(event);
    ASSERT_TRUE(menu);
    EXPECT_EQ(menu->back().title, "Project.System.Default");
}

TEST_F(InstalledTreeTest, TheUsualPaperIsThatOfTheCountry) {
    const std::string resources = std::string(agentBundlePath) + "/Contents/Resources/";
    const std::pair<const char*, const char*> papers[] = {
        {"en", "0"}, {"de", "0"}, {"fr", "0"}, {"ja", "0"}, {"en_US", "1"}, {"en_CA", "1"}, {"fr_CA", "1"}};
    for (const auto& [locale, size] : papers) {
        const Dictionary texts = readPropertyList(resources + locale + ".lproj/Localizable.strings");
        EXPECT_EQ(platform::textAt(texts, "ScanOption.DocumentSize.Default.Text"), size) << locale;
    }
}

TEST_F(InstalledTreeTest, EveryLanguageHasEveryTextOfTheAgent) {
    const std::string resources = std::string(agentBundlePath) + "/Contents/Resources/";
    const Dictionary english = readPropertyList(resources + "en.lproj/Localizable.strings");
    EXPECT_EQ(platform::textAt(english, "Message.Button.OK"), "OK");
    for (const std::string language : {"de", "fr", "ja"}) {
        Dictionary texts = readPropertyList(resources + language + ".lproj/Localizable.strings");
        for (const auto& [key, text] : english) {
            EXPECT_NE(platform::textAt(texts, key).value_or(""), "") << language << ' ' << key;
        }
        EXPECT_EQ(texts.size(), english.size());
    }
}

} // namespace
} // namespace trigora
