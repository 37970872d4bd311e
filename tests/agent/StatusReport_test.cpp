#include "agent/delegate/StatusReport.h"

#include "agent/service/TgaServiceManager.h"
#include "files/InstalledPaths.h"
#include "platform/Bundles.h"
#include "platform/Formats.h"
#include "projects/manager/TrProjectManager.h"
#include "tests/fakes/PlatformTest.h"

namespace trigora {
namespace {

class StatusReportTest : public test::PlatformTest {
protected:
    Dictionary ask() {
        const auto reply =
            appleEvents.receive({platform::fourCharCode("PLsc"), platform::fourCharCode("Stat"), {}}).event;
        const auto* answer = reply.parameter(platform::fourCharCode("----"));
        const auto value =
            answer ? platform::current().json.read(std::string(answer->bytes.begin(), answer->bytes.end()))
                   : std::nullopt;
        return value && value->dictionary() ? *value->dictionary() : Dictionary();
    }
};

TEST_F(StatusReportTest, TellsWhatTheAgentIsDoing) {
    makeFolder("/Applications/Viewer.app");
    makeFolder("~/Watched");
    writeFile(paths::eventFolder() + "/Folder.plg", "[Event]\nEventID=300\nShow=0x0210\nProject=700\n");
    writeFile("~/Library/Preferences/PELOX/Trigora/MonitorFolder/AppInfo1/Open.plg",
              "[Launch]\nProjectID=750\nProjectType=0x0002\nActionID=900\n"
              "[Event_Launch_MacX]\nAppPath=/Applications/Viewer.app\n");
    const Dictionary watched{
        {"folderPath", onDisk("~/Watched")}, {"intervalTime", 5}, {"executiveProjectID", "750"}};
    const Dictionary gone{{"folderPath", "/none"}, {"intervalTime", 5}, {"executiveProjectID", "750"}};
    writePropertyList(paths::watchedFolderSettingsFile(), Dictionary{{"1", gone}, {"3", watched}});
    {
        const StatusReport report("/root");
        TgaServiceManager::sharedServiceManager()->setupService();
        clock.advanceMicroseconds(2'500'000);
        EXPECT_EQ(ask(), (Dictionary{{"processID", 1},
                                     {"root", "/root"},
                                     {"uptime", 2.5},
                                     {"log", false},
                                     {"press", Value()},
                                     {"projectIsRunning", false},
                                     {"application", Value()},
                                     {"watchedFolders", Array{onDisk("~/Watched")}},
                                     {"modules", Array{}},
                                     {"failedModules", Array{}}}));
        TgaServiceManager::sharedServiceManager()->setCurrentEvent(Dictionary{{"driverName", "D"}});
        TrProjectManager::setRunningProjectStatus(true);
        EXPECT_EQ(platform::dictionaryAt(ask(), "press"), (Dictionary{{"driverName", "D"}}));
        EXPECT_EQ(platform::booleanAt(ask(), "projectIsRunning"), true);
        writePropertyList(paths::panelDriverModule() + "/Contents/Info.plist", Dictionary{});
        platform::current().bundles.create(paths::panelDriverModule())->loadExecutable();
        EXPECT_EQ(platform::arrayAt(ask(), "failedModules"),
                  (Array{Dictionary{{"path", paths::panelDriverModule()},
                                    {"reason", "the executable that its Info.plist names is missing"}}}));
    }
    EXPECT_EQ(ask(), Dictionary());
}

} // namespace
} // namespace trigora
