#pragma once

#include "catalogue/drivers/TrScannerDriverInformation.h"
#include "catalogue/drivers/TrScannerDriverManager.h"
#include "files/InstalledPaths.h"
#include "files/PxDefParser.h"
#include "files/PxIniParser.h"
#include "files/TrFilePathUtility.h"
#include "platform/FileSystem.h"
#include "projects/information/TrProjectInformation.h"
#include "tests/fakes/PlatformTest.h"

namespace trigora::test {

/// An installation with two actions: "A1" launches an application that is there, "A2" one that is not.
class ProjectTest : public PlatformTest {
protected:
    const std::string viewer = "/Applications/Viewer.app";
    const std::string customFolder = "~/Library/Preferences/PELOX/Trigora/AppInfo1";
    const std::string monitorFolder = "~/Library/Preferences/PELOX/Trigora/MonitorFolder/AppInfo1";

    ProjectTest() {
        makeFolder(viewer);
        installAction("A1", viewer);
        installAction("A2", "/Applications/Gone.app");
        processes.launches = false;
    }

    void installAction(const std::string& actionID, const std::string& application) {
        writeFile(paths::actionFolder() + "/" + actionID + ".adi",
                  "[Launch]\nID=" + actionID + "\n[Launch_MacX]\nAppPath=" + application + "\n");
        writeFile(paths::actionFolder() + "/" + actionID + "/String.def", "Caption=" + actionID + " name\n");
    }

    /// A project file with the texts beside it.
    void writeProject(const std::string& path, const std::string& projectID, const std::string& caption,
                      const std::string& moreLines = "ProjectType=0x0001\rActionID=A1\r") {
        writeFile(path, utf16("[Launch]\rProjectID=" + projectID + "\r" + moreLines));
        writeFile(platform::deletingPathExtension(path) + "/String.def", utf16("Caption=" + caption + "\r"));
    }

    std::shared_ptr<TrProjectInformation> read(const std::string& path) {
        PxIniParser::sharedParser()->removeAllItems();
        PxDefParser::sharedDefParser()->removeAllItems();
        return TrProjectInformation::initWithPath(absolute(path));
    }

    /// "~" is the test's home; installed paths stay as they are.
    std::string absolute(const std::string& path) const { return platform::expandingTildeInPath(path); }

    std::shared_ptr<TrScannerDriverInformation> driverWithDevice(const Dictionary& deviceInfo) {
        const auto driver =
            TrScannerDriverInformation::initWithDriverInformation({{"DriverInfoDrivername", "D1"}});
        driver->setDeviceInfo(deviceInfo);
        return driver;
    }

    void makeCurrentDriver(const Dictionary& deviceInfo) {
        const auto drivers = TrScannerDriverManager::sharedScannerDriverManager();
        drivers->setScannerDriverList(Array{Dictionary{{"DriverInfoDrivername", "D1"}}});
        drivers->setCurrentScannerDriverWithName("D1");
        drivers->currentScannerDriverInformation()->setDeviceInfo(deviceInfo);
        journal.take();
    }
};

} // namespace trigora::test
