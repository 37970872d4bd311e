#include "catalogue/actions/TrActionManager.h"
#include "catalogue/drivers/TrScannerDriverInformation.h"
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
    const std::array<std::pair<std::string, std::vector<std::string>>, 3> expected{
        {{"de", {"701 Scan als PDF", "702 Scan als JPEG"}},
         {"ja", {"701 PDFへスキャン", "702 JPEGへスキャン"}},
         {"sv", {"701 Scan to PDF", "702 Scan to JPEG"}}}};
    for (const auto& [language, projectNames] : expected) {
        SCOPED_TRACE(language);
        std::filesystem::remove_all(home + "/Library");
        speak(language, language);
        const auto driver = TrScannerDriverInformation::initWithDriverInformation(
            {{"DriverInfoDrivername", "SANE Test Scanner"}});
        driver->setDeviceInfo(Dictionary{{"DeviceInfoModelID", 0x0F01}});
        const ProjectList projects =
            TrProjectManager::sharedProjectManager()->customProjectListWithScannerDriver(driver);
        ASSERT_EQ(names(projects), projectNames);
        EXPECT_EQ(projects[0]->fileFormatFromScanSettings(), 1);
        EXPECT_EQ(projects[1]->fileFormatFromScanSettings(), 0);
        EXPECT_TRUE(projects[0]->isRunableProject() && projects[1]->isRunableProject());
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
