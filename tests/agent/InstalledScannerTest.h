#pragma once

#include "agent/service/TgaServiceManager.h"
#include "files/InstalledPaths.h"
#include "tests/agent/ScanEventBytes.h"
#include "tests/fakes/PlatformTest.h"

namespace trigora::test {

/// An installation with the project 110, which launches an application, and a scan assistant that runs until
/// it is asked to quit. Tests install the events and the tables that they are about.
class InstalledScannerTest : public PlatformTest {
protected:
    const Lines confirmationRequested{
        "post! ReplyScannerConfirmationDistributedNotification {DriverName = D1;}"};
    const Lines failed{"post! ReplySAQuitDistributedNotification", "post ScanEventDidFinishNotification"};

    InstalledScannerTest() {
        makeFolder("/Applications/Viewer.app");
        writeFile(paths::actionFolder() + "/A1.adi",
                  "[Launch]\nID=A1\nOptionType=0x0001\n[Launch_MacX]\nAppPath=/Applications/Viewer.app\n");
        writeFile(paths::eventFolder() + "/Job.plg",
                  "[Event]\nEventID=200\nShow=0x310\nProject=110\nDefaultProject=110\n");
        installProject("110");
        writeFile(paths::scanAssistantExecutable(), "");
        processes.appear("PScanAssistant");
        notifications.onPost("ReplySAQuitDistributedNotification",
                             [this](const platform::Notification&) { processes.exit("PScanAssistant"); });
        notifications.onPost(
            "ReplyLaunchPlScanDistributedNotification", [this](const platform::Notification& post) {
                launched = platform::dictionaryAt(post.userInfo.value_or(Dictionary{}), "PlScanSettings");
            });
    }

    void installProject(const std::string& projectID) {
        writeFile(paths::predefinedProjectFolder() + "/" + projectID + ".plg",
                  "[Launch]\nProjectID=" + projectID + "\nShow=0x0010\nProjectType=0x8002\nActionID=A1\n");
    }

    void installEvent(const std::string& eventID, const std::string& projectID = "110") {
        writeFile(paths::eventFolder() + "/E" + eventID + ".plg", "[Event]\nEventID=" + eventID +
                                                                      "\nShow=0x1110\nProject=" + projectID +
                                                                      "\nDefaultProject=" + projectID + "\n");
    }

    /// The state after start-up, with nothing in the journal.
    void start() {
        service = TgaServiceManager::sharedServiceManager();
        service->setupService();
        journal.take();
    }

    void press(const std::string& model, const std::string& driver, std::uint32_t status) {
        appleEvents.receive(scanButtonEvent(scanEventBytes(model, driver, status)));
    }

    /// The scan assistant's answer for a scanner of the given driver and model ID.
    void confirm(const std::string& driver, std::int64_t modelID, std::int64_t result = 0) {
        const Dictionary device{{"DeviceInfoModelID", modelID}};
        notifications.receive("DidFinishScannerConfirmationDistributedNotification",
                              Dictionary{{"ScannerConfirmResult", result},
                                         {"ScannerVersion", "3.0"},
                                         {"UpdatedDeviceInfo", Dictionary{{driver, device}}}});
    }

    std::shared_ptr<TgaServiceManager> service;
    std::optional<Dictionary> launched; ///< settings that the scanning application was launched with
};

} // namespace trigora::test
