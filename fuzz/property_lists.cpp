// The user's settings: one property list in the place of the button bindings, the watched folders and a
// project's scan settings, read, changed and saved by the classes that own them.

#include "catalogue/events/TrEventManager.h"
#include "catalogue/events/TrMonitorEventInformation.h"
#include "files/InstalledPaths.h"
#include "fuzz/FuzzInput.h"
#include "platform/Formats.h"
#include "platform/Text.h"
#include "projects/information/TrProjectInformation.h"
#include "tests/fakes/PlatformTest.h"

namespace trigora::fuzz {
namespace {

class PropertyLists : public test::PlatformTest {
public:
    explicit PropertyLists(const std::string& bytes) {
        writeFile(paths::eventFolder() + "/Monitor.plg",
                  "[Event]\nEventID=300\nShow=0x0210\nProject=701\nDefaultProject=701\n");
        writeFile(paths::buttonBindingsFile(std::nullopt), bytes);
        writeFile(paths::watchedFolderSettingsFile(), bytes);
        writeFile(settingsFile_, bytes);
        writeFile("~/Project.plg", "[Launch]\nProjectID=701\nProjectType=0x0001\nScanSetting=" + home +
                                       settingsFile_.substr(1) + "\n");
    }

    void changeBindings() {
        const auto manager = TrEventManager::sharedEventManager();
        manager->setScanEventPathWithModelID(std::nullopt);
        const auto others = manager->projectIDWithEventID("100");
        manager->setProjectID("702", "101");
        for (const auto& event : manager->monitorEventList()) {
            event->setConnectedProjectID("703");
        }
        manager->saveEventInformation();
        TrEventManager::releaseSharedManager();
        const auto reread = TrEventManager::sharedEventManager();
        require(reread->projectIDWithEventID("101") == "702", "a saved binding is read again");
        require(reread->projectIDWithEventID("100") == others, "other bindings are kept");
        require(reread->monitorEventList().at(2)->connectedProjectID(nullptr) == "703",
                "a watched folder's project is read again");
    }

    void changeScanSettings() {
        const auto project = TrProjectInformation::initWithPath(home + "/Project.plg");
        for (const auto& label :
             {project->menuTitle(), project->documentSizeString(), project->documentSourceString(),
              project->fileFormatString(), project->imageColorString(), project->qualityTypeString(),
              project->targetFolderString(), project->resolutionString(), project->tiffCompressionString()}) {
            require(!label || platform::isValidUtf8(*label), "labels can be shown");
        }
        project->setResolutionAtScanSettings(300);
        project->setScanSettingsPath(home + settingsFile_.substr(1));
        project->writeProjectInformation();
        require(readPropertyList(settingsFile_) == project->scanSettings(), "scan settings are saved whole");
    }

private:
    void TestBody() override {}

    const std::string settingsFile_ = "~/Project/ScanSetting.plist";
};

} // namespace
} // namespace trigora::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    trigora::fuzz::PropertyLists lists(std::string(bytes, bytes + size));
    lists.changeBindings();
    lists.changeScanSettings();
    return 0;
}
