#pragma once

#include "files/InstalledPaths.h"
#include "platform/linux/bus/BusNames.h"
#include "platform/linux/loop/SystemdPointers.h"
#include "tests/fakes/PlatformTest.h"
#include "tests/fakes/PrivateBus.h"
#include "tools/commands/Commands.h"

#include <filesystem>
#include <fstream>
#include <map>
#include <sstream>
#include <thread>

namespace trigora::tools {

struct Outcome {
    ExitCode code;
    std::string out;
    std::string err;
};

/// Owns the agent's name on the session bus for as long as it lives, and knows no event.
class AgentOnTheBus {
public:
    AgentOnTheBus() {
        sd_bus* bus = nullptr;
        EXPECT_GE(sd_bus_open_user(&bus), 0);
        bus_.reset(bus);
        EXPECT_GE(sd_bus_request_name(bus, platform::bus::agentName, 0), 0);
        thread_ = std::jthread([bus](const std::stop_token& stop) {
            constexpr std::uint64_t moment = 10'000;
            while (!stop.stop_requested()) {
                if (sd_bus_process(bus, nullptr) == 0) {
                    sd_bus_wait(bus, moment);
                }
            }
        });
    }

private:
    platform::BusPointer bus_;
    std::jthread thread_;
};

/// Commands over a small installed catalogue: the model 0F01 has its own projects, 0F02 three job buttons.
/// The application of action 310 is missing.
class SettingsCommandTest : public test::PlatformTest {
    const test::PrivateBus bus_;

protected:
    using Words = std::vector<std::string>;
    using Lines = test::Lines;

    static constexpr const char* settings = "~/Library/Preferences/PELOX/Trigora/Settings/";
    static constexpr const char* bindings =
        "~/Library/Preferences/PELOX/Trigora/Settings/ButtonEventProjectInfo.plist";
    static constexpr const char* watched =
        "~/Library/Preferences/PELOX/Trigora/Settings/WatchedFolderSetting.plist";
    static constexpr const char* ownProjects = "~/Library/Preferences/PELOX/Trigora/AppInfo1/";
    static constexpr const char* folderProjects =
        "~/Library/Preferences/PELOX/Trigora/MonitorFolder/AppInfo1/";
    static constexpr const char* modelProjects = "~/Library/Preferences/PELOX/Trigora/Model0F01/AppInfo1/";
    static constexpr const char* scanChange = "post ScanSettingsDidChangeNotification";
    static constexpr const char* folderChange = "post MonitorFolderSettingsDidChangeNotification";

    void SetUp() override {
        makeFolder("~/Scans");
        makeFolder("/Applications/Viewer.app");
        installEvent("Start", "EventID=100\nShow=0x0110\nProject=610,500,700\nDefaultProject=610\n"
                              "AcceptableProjectType=0x0001\n");
        installEvent("Copy", "EventID=101\nShow=0x0110\nProject=340\nDefaultProject=340\n");
        installEvent(
            "Fixed",
            "EventID=102\nShow=0x0130\nProject=610,700\nDefaultProject=610\nAcceptableProjectType=0x0001\n");
        installEvent(
            "Job",
            "EventID=200\nShow=0x310\nProject=610,700\nDefaultProject=610\nAcceptableProjectType=0x0001\n");
        installEvent("Folder", "EventID=300\nShow=0x0210\nProject=700\nAcceptableProjectType=0x0002\n");
        installAction("Viewer", "300", "/Applications/Viewer.app");
        installAction("Printer", "310", "/Applications/Gone.app");
        const std::string predefined = paths::predefinedProjectFolder() + "/";
        writePropertyList(predefined + "PDF/ScanSetting.plist",
                          Dictionary{{"folderPath", onDisk("~/Scans")}, {"resolution", 200}});
        writeProject(predefined, "PDF", "610", "0x8001", "300", predefined + "PDF/ScanSetting.plist");
        writeProject(predefined, "Copy", "340", "0x8002", "310");
        writeProject(predefined, "Mail", "500", "0x8003", "300");
        writeFile(paths::scannerCapabilityFile(),
                  "[Model0F01]\nNumJobEvents=4\nModelDependency=1\nDeviceSettingAlias=Desk\n"
                  "[Model0F02]\nJobDeviceType=1\nNumJobEvents=3\n");
        writeFile(paths::scannerDriversFile(),
                  "[Desk Scanner]\nModelID=0F01\n[Panel Scanner]\nModelID=0F02\n[Addresses]\n");
        const std::string device = paths::deviceSettingsFolder() + "/Desk/AppInfo1/en/";
        writePropertyList(device + "Flat/ScanSetting.plist", Dictionary{{"resolution", 100}});
        writeProject(device, "Flat", "701", "0x0001", "300");
    }

    /// A bundle with a program in it.
    void installApplication(const std::string& path) {
        writePropertyList(path + "/Contents/Info.plist", Dictionary{{"CFBundleExecutable", "Main"}});
        writeProgram(path + "/Contents/MacOS/Main");
    }
    void writeProgram(const std::string& path) {
        writeFile(path, "#!/bin/sh\n");
        std::filesystem::permissions(onDisk(path), std::filesystem::perms::all);
    }
    void installEvent(const std::string& name, const std::string& keys) {
        writeFile(paths::eventFolder() + "/" + name + ".plg", "[Event]\n" + keys);
        writeFile(paths::eventFolder() + "/" + name + "/String.def", "Caption=" + name + "\n");
    }
    void installAction(const std::string& name, const std::string& id, const std::string& application) {
        writeFile(paths::actionFolder() + "/" + name + ".adi",
                  "[Launch]\nID=" + id + "\nOptionType=0x0001\n[Launch_MacX]\nAppPath=" + application + "\n");
        writeFile(paths::actionFolder() + "/" + name + "/String.def", "Caption=" + name + "\n");
    }
    /// Folder with a "/" at its end.
    void writeProject(const std::string& folder, const std::string& name, const std::string& id,
                      const std::string& type, const std::string& actionID,
                      const std::string& settingsPath = "", const std::string& more = "") {
        writeFile(folder + name + ".plg",
                  "[Launch]\nProjectID=" + id + "\nShow=0x0010\nProjectVersion=2.1\nProjectType=" + type +
                      "\nActionID=" + actionID + "\nScanSetting=" + onDisk(settingsPath) + "\n" + more);
        writeFile(folder + name + "/String.def", "Caption=" + name + "\n");
    }

    static Outcome run(const Words& words) {
        std::ostringstream out;
        std::ostringstream err;
        const ExitCode code = runCommandLine(commands(), words, out, err);
        return {code, out.str(), err.str()};
    }
    /// The command's answer for programs.
    static Dictionary json(Words words) {
        words.emplace_back("--json");
        const Outcome outcome = run(words);
        const auto value = platform::current().json.read(outcome.out);
        EXPECT_TRUE(value && value->dictionary()) << outcome.out << outcome.err;
        return value && value->dictionary() ? *value->dictionary() : Dictionary();
    }

    /// Every file and folder of the test with its bytes.
    std::map<std::string, std::string> tree() const {
        std::map<std::string, std::string> files;
        const std::filesystem::path top = std::filesystem::path(home).parent_path();
        for (const auto& entry : std::filesystem::recursive_directory_iterator(top)) {
            std::ostringstream bytes;
            if (entry.is_regular_file()) {
                bytes << std::ifstream(entry.path(), std::ios::binary).rdbuf();
            }
            files[entry.path().string()] = bytes.str();
        }
        return files;
    }
};

} // namespace trigora::tools
