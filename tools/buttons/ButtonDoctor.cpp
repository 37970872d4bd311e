#include "tools/buttons/ButtonDoctor.h"

#include "files/InstalledPaths.h"
#include "platform/Text.h"
#include "tools/bus/SessionBus.h"
#include "tools/words/Wording.h"

#include <grp.h>
#include <pwd.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <filesystem>
#include <fstream>

namespace trigora::tools {

namespace {

namespace fs = std::filesystem;

/// Programs that keep scanners open to watch their buttons.
constexpr std::array<std::string_view, 3> buttonDaemons{"scanbd", "scanbuttond", "insaned"};

std::string nameOfProcess(const fs::path& process) {
    std::string name;
    std::getline(std::ifstream(process / "comm") >> std::ws, name);
    return name;
}

/// The folders of all processes.
std::vector<fs::path> processes() {
    std::vector<fs::path> found;
    std::error_code error;
    for (fs::directory_iterator entry("/proc", error), end; !error && entry != end; entry.increment(error)) {
        if (platform::integerValue(entry->path().filename().string()) > 0) {
            found.push_back(entry->path());
        }
    }
    return found;
}

bool hasOpen(const fs::path& process, const std::string& node) {
    std::error_code error;
    for (fs::directory_iterator entry(process / "fd", error), end; !error && entry != end;
         entry.increment(error)) {
        std::error_code gone;
        if (fs::read_symlink(entry->path(), gone) == node) {
            return true;
        }
    }
    return false;
}

std::vector<std::string> usersOfNode(const std::string& node) {
    std::vector<std::string> users;
    for (const fs::path& process : processes()) {
        const std::string name = nameOfProcess(process);
        if (!name.starts_with("TrigoraButton") && hasOpen(process, node)) {
            users.push_back(name + " (" + process.filename().string() + ')');
        }
    }
    return users;
}

std::string rightsOfNode(const std::string& node) {
    struct stat status {};
    if (::stat(node.c_str(), &status) != 0) {
        return {};
    }
    const passwd* owner = ::getpwuid(status.st_uid);
    const group* ofGroup = ::getgrgid(status.st_gid);
    std::array<char, 8> mode{};
    std::snprintf(mode.data(), mode.size(), "%04o", status.st_mode & 07777U);
    return std::string("owner ") + (owner != nullptr ? owner->pw_name : "?") + ", group " +
           (ofGroup != nullptr ? ofGroup->gr_name : "?") + ", mode " + mode.data();
}

class Doctor {
public:
    Doctor(const ButtonSight& sight, const ButtonCircumstances& present) : sight_(sight), present_(present) {}

    std::vector<ButtonFinding> findings() {
        lookAtPrograms();
        const auto scanners = platform::arrayAt(sight_.status, "scanners").value_or(Array());
        if (scanners.empty() && sight_.error.empty()) {
            find("", "SANE finds no scanner at this computer",
                 "switch it on and plug it in; \"scanimage -L\" shows what SANE finds, and a scanner that is "
                 "missing there needs a driver");
        }
        for (const Value& scanner : scanners) {
            if (scanner.dictionary() != nullptr) {
                lookAt(*scanner.dictionary());
            }
        }
        return std::move(findings_);
    }

private:
    void find(std::string scanner, std::string problem, std::string remedy) {
        findings_.push_back({std::move(scanner), std::move(problem), std::move(remedy)});
    }

    void lookAtPrograms() {
        if (!sight_.error.empty()) {
            find("", sight_.error, "install the product anew, and SANE (the package libsane1)");
        }
        if (!sight_.isServiceRunning) {
            find("", "the scanner buttons service is not running",
                 "start it: systemctl --user enable --now trigora-buttons");
        }
        if (!present_.isAgentRunning) {
            find("", "the agent is not running, so that presses lead to nothing",
                 "start it: systemctl --user enable --now trigora-agent");
        }
        for (const std::string& daemon : present_.otherDaemons) {
            find("", daemon + " is running, too, and keeps scanners open for their buttons",
                 "end it for good: sudo systemctl disable --now " + daemon);
        }
        for (const Value& problem : platform::arrayAt(sight_.status, "problems").value_or(Array())) {
            find("", problem.text() != nullptr ? *problem.text() : "", "");
        }
        if (sight_.isServiceRunning && platform::booleanAt(sight_.status, "isActive") == false) {
            find("", "another user is at the desk, and the buttons are that user's",
                 "switch to your session; over a remote connection buttons are not watched");
        }
    }

    void lookAt(const Dictionary& scanner) {
        const auto text = [&](const char* key) { return platform::textAt(scanner, key).value_or(""); };
        const std::string name = text("driver");
        if (text("refusal") == "denied") {
            find(name,
                 "you may not open its device " + text("node") + " (" + present_.rightsOfNode(text("node")) +
                     ')',
                 "log in at the desk itself, which gives you the right, or join the group that has it, "
                 "usually "
                 "\"scanner\": sudo usermod -aG scanner \"$USER\", and log in anew");
            return;
        }
        const std::vector<std::string> users =
            text("node").empty() ? std::vector<std::string>() : present_.usersOfNode(text("node"));
        if (text("refusal") == "busy" || !users.empty()) {
            find(name, "another program has it open" + (users.empty() ? "" : ": " + joined(users, ", ")),
                 users.empty() ? "it belongs to another user or to the system: close it there"
                               : "close that program; the buttons work again three seconds later");
            return;
        }
        if (text("refusal") == "failed") {
            find(name, "it cannot be read: " + text("problem"),
                 "switch it off and on; it is tried again by itself");
            return;
        }
        if (text("state") == "not watched") {
            find(name, text("reason"), remedyWithoutButtons(scanner));
        }
        for (const Value& sensor : platform::arrayAt(scanner, "flickering").value_or(Array())) {
            find(name,
                 "its button \"" + (sensor.text() != nullptr ? *sensor.text() : "") +
                     "\" is pressed again "
                     "and again without a pause",
                 "look whether it sticks; it is left alone until it rests");
        }
    }

    std::string remedyWithoutButtons(const Dictionary& scanner) const {
        for (const Value& entry : platform::arrayAt(scanner, "sensors").value_or(Array())) {
            const Dictionary* sensor = entry.dictionary();
            if (sensor != nullptr && platform::textAt(*sensor, "kind") == "unknown") {
                return "its sensor \"" + platform::textAt(*sensor, "sensor").value_or("") +
                       "\" may be a button: a line in " + present_.userTableFile + " makes it one";
            }
        }
        return "its back-end tells of no button; presses can be sent by \"trigoractl press\"";
    }

    const ButtonSight& sight_;
    const ButtonCircumstances& present_;
    std::vector<ButtonFinding> findings_;
};

} // namespace

ButtonCircumstances presentCircumstances() {
    ButtonCircumstances present;
    std::string error;
    const std::optional<SessionBus> bus = SessionBus::open(error);
    present.isAgentRunning = bus && bus->agentProcessID().has_value();
    for (const fs::path& process : processes()) {
        const std::string name = nameOfProcess(process);
        if (std::ranges::find(buttonDaemons, name) != buttonDaemons.end() &&
            std::ranges::find(present.otherDaemons, name) == present.otherDaemons.end()) {
            present.otherDaemons.push_back(name);
        }
    }
    present.usersOfNode = usersOfNode;
    present.rightsOfNode = rightsOfNode;
    present.userTableFile = paths::userScannerButtonsFile();
    return present;
}

std::vector<ButtonFinding> findButtonProblems(const ButtonSight& sight, const ButtonCircumstances& present) {
    return Doctor(sight, present).findings();
}

} // namespace trigora::tools
