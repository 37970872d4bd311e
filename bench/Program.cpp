#include "bench/Program.h"

#include <csignal>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <spawn.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace trigora::bench {

namespace {

/// The number behind "NAME:" in a file of such lines; 0 without one.
std::int64_t numberAt(const std::string& path, const std::string& name) {
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with(name + ":")) {
            return std::stoll(line.substr(name.size() + 1));
        }
    }
    return 0;
}

void end(pid_t processID, int signal) {
    kill(processID, signal);
    waitpid(processID, nullptr, 0);
}

std::string nameOf(const std::string& variable) { return variable.substr(0, variable.find('=') + 1); }

std::vector<std::string> ownEnvironmentWith(std::vector<std::string> variables) {
    const std::size_t given = variables.size();
    for (char** own = environ; *own != nullptr; ++own) {
        bool isReplaced = false;
        for (std::size_t i = 0; i < given; ++i) {
            isReplaced = isReplaced || nameOf(variables[i]) == nameOf(*own);
        }
        if (!isReplaced) {
            variables.emplace_back(*own);
        }
    }
    return variables;
}

} // namespace

Program::Program(const std::string& path, const std::vector<std::string>& environment) {
    std::string word = path;
    char* words[] = {word.data(), nullptr};
    std::vector<std::string> variables = ownEnvironmentWith(environment);
    std::vector<char*> pointers;
    for (std::string& variable : variables) {
        pointers.push_back(variable.data());
    }
    pointers.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    for (const int descriptor : {STDOUT_FILENO, STDERR_FILENO}) {
        posix_spawn_file_actions_addopen(&actions, descriptor, "/dev/null", O_WRONLY, 0);
    }
    const int failure = posix_spawn(&processID_, path.c_str(), &actions, nullptr, words, pointers.data());
    posix_spawn_file_actions_destroy(&actions);
    if (failure != 0) {
        throw std::runtime_error(path + " cannot be started");
    }
}

Program::~Program() { end(processID_, SIGTERM); }

std::int64_t Program::contextSwitches() const {
    std::int64_t switches = 0;
    const std::string threads = "/proc/" + std::to_string(processID_) + "/task";
    for (const auto& thread : std::filesystem::directory_iterator(threads)) {
        const std::string status = thread.path().string() + "/status";
        switches +=
            numberAt(status, "voluntary_ctxt_switches") + numberAt(status, "nonvoluntary_ctxt_switches");
    }
    return switches;
}

std::int64_t Program::memory(const std::string& kind) const {
    return numberAt("/proc/" + std::to_string(processID_) + "/smaps_rollup", kind);
}

SleepingProcesses::SleepingProcesses(int count) {
    const pid_t parent = getpid();
    for (int i = 0; i < count; ++i) {
        const pid_t child = fork();
        if (child == 0) {
            prctl(PR_SET_PDEATHSIG, SIGKILL);
            while (getppid() == parent) {
                pause();
            }
            _exit(0);
        }
        if (child > 0) {
            processIDs_.push_back(child);
        }
    }
}

SleepingProcesses::~SleepingProcesses() {
    for (const pid_t processID : processIDs_) {
        end(processID, SIGKILL);
    }
}

} // namespace trigora::bench
