#include "tests/integration/RunningAgentTest.h"

#include "platform/linux/bus/BusNames.h"
#include "tests/integration/AssistantName.h"
#include "tools/bus/SessionBus.h"

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <spawn.h>
#include <sstream>
#include <sys/wait.h>
#include <unistd.h>

namespace trigora::test {

Child::Child(const std::string& program, const std::vector<std::string>& arguments,
             const std::string& errorFile)
    : errorFile_(errorFile) {
    std::vector<std::string> words{program};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    for (std::string& word : words) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, errorFile.c_str(), O_WRONLY | O_CREAT | O_TRUNC,
                                     0666);
    EXPECT_EQ(posix_spawn(&processID_, program.c_str(), &actions, nullptr, pointers.data(), environ), 0)
        << program;
    posix_spawn_file_actions_destroy(&actions);
}

Child::~Child() {
    if (processID_ > 0 && exitStatus() < 0) {
        signal(SIGKILL);
        waitpid(processID_, nullptr, 0);
    }
    std::ostringstream errors;
    errors << std::ifstream(errorFile_).rdbuf();
    EXPECT_EQ(errors.str().find("Sanitizer"), std::string::npos) << errors.str();
}

void Child::signal(int number) const { kill(processID_, number); }

int Child::exitStatus() {
    int status = 0;
    if (status_ < 0 && waitpid(processID_, &status, WNOHANG) == processID_) {
        status_ = WIFEXITED(status) ? WEXITSTATUS(status) : 128 + WTERMSIG(status);
    }
    return status_;
}

RunningAgentTest::RunningAgentTest() : root_(platform::deletingLastPathComponent(onDisk("/Applications"))) {
    setenv("HOME", home.c_str(), 1);
    setenv("TRIGORA_ROOT", root_.c_str(), 1);
    installPrograms();
    std::string error;
    connection_ = platform::BusConnection::open(busLoop_, error);
    if (!connection_) {
        throw std::runtime_error(error);
    }
    busNotifications_ = std::make_unique<platform::BusNotifications>(*connection_);
    hear("ReplyScannerConfirmationDistributedNotification");
    hear("ScanEventDidFinishNotification");
}

RunningAgentTest::~RunningAgentTest() {
    agent.reset();
    assistant.reset();
}

void RunningAgentTest::installPrograms() {
    namespace fs = std::filesystem;
    for (const auto& [built, installed] : {std::pair{AGENT_PROGRAM, paths::agentExecutable()},
                                           std::pair{ASSISTANT_PROGRAM, paths::scanAssistantExecutable()}}) {
        const fs::path target = onDisk(installed);
        fs::create_directories(target.parent_path());
        fs::remove(target);
        std::error_code otherFileSystem;
        fs::create_hard_link(built, target, otherFileSystem);
        if (otherFileSystem) {
            fs::copy_file(built, target);
        }
    }
    // Writes down what it is given.
    const std::string viewer = "/Applications/Viewer.app/Contents/";
    writePropertyList(viewer + "Info.plist", Dictionary{{"CFBundleExecutable", "Viewer"}});
    writeFile(viewer + "MacOS/Viewer", "#!/bin/sh\necho \"$@\" > \"$TRIGORA_ROOT/viewed\"\n");
    fs::permissions(onDisk(viewer + "MacOS/Viewer"), fs::perms::all);
    writeFile(paths::predefinedProjectFolder() + "/600.plg",
              "[Launch]\nProjectID=600\nShow=0x0010\nProjectType=0x8001\nActionID=A1\n");
    installEvent("101", "600");
}

void RunningAgentTest::hear(const std::string& name) {
    busNotifications_->observe(name, [this, name](const platform::Notification&) { heard_.push_back(name); });
}

bool RunningAgentTest::waitUntil(const std::function<bool()>& condition) {
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    bool isMet = condition();
    if (isMet) {
        return true;
    }
    const auto timer = busLoop_.addRepeatingTimer(0.01, [&] {
        isMet = condition();
        if (isMet || std::chrono::steady_clock::now() > deadline) {
            busLoop_.stop(0);
        }
    });
    busLoop_.run();
    busLoop_.cancelTimer(timer);
    return isMet;
}

bool RunningAgentTest::isOnBus(const std::string& name) { return connection_->ownerOf(name).has_value(); }

std::unique_ptr<Child> RunningAgentTest::launchAgent(const std::vector<std::string>& arguments) {
    const std::string errorFile = home + "/agent" + std::to_string(++agentsLaunched_) + ".err";
    return std::make_unique<Child>(onDisk(paths::agentExecutable()), arguments, errorFile);
}

void RunningAgentTest::startAgent() {
    agent = launchAgent();
    ASSERT_TRUE(waitUntil([this] { return isOnBus(platform::bus::agentName); })) << agentErrors();
}

void RunningAgentTest::startAssistant() {
    assistant = std::make_unique<Child>(onDisk(paths::scanAssistantExecutable()), std::vector<std::string>{},
                                        home + "/assistant.err");
    ASSERT_TRUE(waitUntil([this] { return isOnBus(assistantName); })) << readFile("~/assistant.err");
}

bool RunningAgentTest::sendRecord(const Data& record) {
    std::string error;
    const auto bus = tools::SessionBus::open(error);
    return bus && bus->sendToAgent(scanButtonEvent(record), error) == tools::SessionBus::Delivery::handled;
}

void RunningAgentTest::expectBoundPressWorks() {
    if (!assistant || assistant->exitStatus() >= 0) {
        startAssistant();
    }
    const std::string viewed = root_ + "/viewed";
    std::filesystem::remove(viewed);
    script("confirm 0");
    takeHeard();
    EXPECT_TRUE(sendRecord(scanEventBytes("XY-1", "D1", 1)));
    EXPECT_TRUE(waitUntil([this] { return heard_.size() == 2; })) << agentErrors();
    EXPECT_EQ(takeHeard(),
              (Lines{"ReplyScannerConfirmationDistributedNotification", "ScanEventDidFinishNotification"}));
    EXPECT_TRUE(waitUntil([&] { return std::filesystem::exists(viewed) && readFile(viewed) != ""; }));
    EXPECT_EQ(readFile(viewed), home + "/scanned.pdf\n");
    EXPECT_TRUE(waitForExit(*assistant)) << "the assistant is asked to quit";
}

} // namespace trigora::test
