#include "bench/InstalledSystem.h"

#include "catalogue/actions/TrActionInformation.h"
#include "files/InstalledPaths.h"
#include "platform/linux/LinuxPlatform.h"
#include "projects/information/TrProjectInformation.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <sys/wait.h>

namespace trigora::bench {

namespace {

namespace fs = std::filesystem;

constexpr int firstProjectID = 1001;
constexpr int boundProjectID = firstProjectID + InstalledSystem::projectCount - 2;
constexpr int pressedEventID = 100 + pressedButton;

void writeEvent(const std::string& folder, int eventID) {
    std::ofstream(folder + "/Event " + std::to_string(eventID) + ".plg")
        << "[Event]\nEventID=" << eventID << "\nShow=0x1110\nEventVersion=1.0\nProject=" << boundProjectID
        << "\nDefaultProject=" << boundProjectID << "\nAcceptableProjectType=0x0001,0x0003\n";
    const std::string texts = folder + "/Event " + std::to_string(eventID);
    fs::create_directories(texts);
    std::ofstream(texts + "/String.def") << "Caption=Button " << eventID << "\nDescription=A button\n";
}

} // namespace

InstalledSystem::InstalledSystem() {
    std::string name = (fs::temp_directory_path() / "trigora-bench-XXXXXX").string();
    if (mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("no temporary folder");
    }
    folder_ = name;
    fs::create_directories(folder_ + "/home");
    setenv("HOME", (folder_ + "/home").c_str(), 1);
    setenv("TRIGORA_ROOT", (folder_ + "/root").c_str(), 1);
    setenv("LANGUAGE", "en", 1);
    install();
    writeEvents();
    writeProjects();
}

InstalledSystem::~InstalledSystem() {
    std::error_code error;
    fs::remove_all(folder_, error);
}

std::string InstalledSystem::agentProgram() const { return onDisk(paths::agentExecutable()); }

std::string InstalledSystem::assistantProgram() const { return onDisk(paths::scanAssistantExecutable()); }

void InstalledSystem::install() const {
    const std::string command =
        std::string("\"" CMAKE_PROGRAM "\" --install \"" BUILD_FOLDER "\" --prefix \"") + folder_ +
        "/root\" >/dev/null";
    if (std::system(command.c_str()) != 0) {
        throw std::runtime_error("failed: " + command);
    }
    fs::copy_file(STAND_IN_PROGRAM, assistantProgram(), fs::copy_options::overwrite_existing);
}

void InstalledSystem::writeEvents() const {
    const std::string folder = onDisk(paths::eventFolder());
    int count = 0;
    for (const auto& entry : fs::directory_iterator(folder)) {
        count += entry.path().extension() == ".plg" ? 1 : 0;
    }
    for (int eventID = pressedEventID; count < eventCount; --eventID, ++count) {
        writeEvent(folder, eventID);
    }
}

/// As the system itself writes them.
void InstalledSystem::writeProjects() const {
    std::string error;
    const auto real = platform::LinuxPlatform::create(
        {.root = folder_ + "/root", .mainBundlePath = paths::agentApplication(), .needsBus = false}, error);
    if (!real) {
        throw std::runtime_error(error);
    }
    platform::install(&real->platform());
    for (int i = 0; i < projectCount; ++i) {
        const std::string projectID = std::to_string(firstProjectID + i);
        TrProjectInformation project;
        project.setDefaultSettingsWithName("Scan no. " + projectID, projectID, true);
        project.setActionInformation(TrActionInformation::initWithActionID("300"));
        project.writeProjectInformation();
    }
}

} // namespace trigora::bench
