#include "platform/linux/processes/LinuxProcesses.h"

#include "platform/Text.h"
#include "platform/linux/files/DiskPath.h"
#include "platform/linux/modules/LinuxBundles.h"
#include "platform/linux/processes/ProcessStatus.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <climits>
#include <condition_variable>
#include <csignal>
#include <ctime>
#include <deque>
#include <fcntl.h>
#include <filesystem>
#include <future>
#include <iterator>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace trigora::platform {

namespace {

namespace fs = std::filesystem;

std::string folderOf(std::int32_t processID) { return "/proc/" + std::to_string(processID); }

/// Where the kernel says the executable lies. It marks a file that has been removed or replaced since,
/// which a process does not lose its name over. None for processes that may not be looked at.
std::optional<std::string> executableOf(const std::string& folder) {
    std::array<char, PATH_MAX> buffer = {};
    const ssize_t size = ::readlink((folder + "/exe").c_str(), buffer.data(), buffer.size());
    if (size < 0) {
        return std::nullopt;
    }
    std::string executable(buffer.data(), static_cast<std::size_t>(size));
    constexpr std::string_view mark = " (deleted)";
    const std::size_t length = executable.size() - std::min(executable.size(), mark.size());
    std::error_code error;
    if (std::string_view(executable).substr(length) == mark && !fs::exists(executable, error)) {
        executable.resize(length);
    }
    return executable;
}

bool belongsToThisUser(const std::string& folder) {
    struct stat status = {};
    return ::stat(folder.c_str(), &status) == 0 && status.st_uid == ::geteuid();
}

/// The IDs of all processes, in ascending order.
std::vector<std::int32_t> processIDs() {
    std::vector<std::int32_t> ids;
    std::error_code error;
    for (fs::directory_iterator entry("/proc", error); !error && entry != fs::directory_iterator();
         entry.increment(error)) {
        const std::string name = entry->path().filename().string();
        std::int32_t id = 0;
        const auto [end, failure] = std::from_chars(name.data(), name.data() + name.size(), id);
        if (failure == std::errc() && end == name.data() + name.size()) {
            ids.push_back(id);
        }
    }
    std::sort(ids.begin(), ids.end());
    return ids;
}

/// A code that stands in a dictionary as four characters; 0 for anything else.
std::uint32_t codeAt(const Dictionary& dictionary, std::string_view key) {
    const std::string text = textAt(dictionary, key).value_or("");
    return text.size() == 4 ? leadingFourCharCode(text) : 0;
}

/// The pointers that exec takes; they live as long as the texts.
std::vector<char*> pointersTo(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    std::transform(texts.begin(), texts.end(), std::back_inserter(pointers),
                   [](std::string& text) { return text.data(); });
    pointers.push_back(nullptr);
    return pointers;
}

std::vector<std::string> environmentWithRoot(const std::string& root) {
    const std::string name = "TRIGORA_ROOT=";
    std::vector<std::string> variables{name + root};
    for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable) {
        if (std::string_view(*variable).substr(0, name.size()) != name) {
            variables.emplace_back(*variable);
        }
    }
    return variables;
}

/// Attributes of a new process: no blocked signals, every signal with its default action.
class SpawnAttributes {
public:
    SpawnAttributes() {
        ::posix_spawnattr_init(&attributes_);
        sigset_t signals;
        ::sigemptyset(&signals);
        ::posix_spawnattr_setsigmask(&attributes_, &signals);
        ::sigfillset(&signals);
        ::posix_spawnattr_setsigdefault(&attributes_, &signals);
        ::posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    SpawnAttributes(const SpawnAttributes&) = delete;
    SpawnAttributes& operator=(const SpawnAttributes&) = delete;
    ~SpawnAttributes() { ::posix_spawnattr_destroy(&attributes_); }

    const posix_spawnattr_t* get() const { return &attributes_; }

private:
    posix_spawnattr_t attributes_;
};

/// Closes everything but the standard three, whether or not it was opened to be closed at exec.
class SpawnFileActions {
public:
    SpawnFileActions() {
        ::posix_spawn_file_actions_init(&actions_);
        ::posix_spawn_file_actions_addclosefrom_np(&actions_, STDERR_FILENO + 1);
    }
    SpawnFileActions(const SpawnFileActions&) = delete;
    SpawnFileActions& operator=(const SpawnFileActions&) = delete;
    ~SpawnFileActions() { ::posix_spawn_file_actions_destroy(&actions_); }

    const posix_spawn_file_actions_t* get() const { return &actions_; }

private:
    posix_spawn_file_actions_t actions_;
};

/// The words begin with the executable's path on the disk. None when it could not be started.
std::optional<pid_t> spawn(std::vector<std::string> words, std::vector<std::string> environment) {
    const SpawnAttributes attributes;
    const SpawnFileActions actions;
    pid_t processID = 0;
    const int failure = ::posix_spawn(&processID, words.front().c_str(), actions.get(), attributes.get(),
                                      pointersTo(words).data(), pointersTo(environment).data());
    return failure == 0 ? std::optional(processID) : std::nullopt;
}

} // namespace

/// The launched processes, shared with the threads that wait for them.
class LinuxProcesses::Children {
public:
    /// Runs in the process's own thread: starts it, tells the launcher, and waits for the exit.
    void startAndWait(std::vector<std::string> words, std::vector<std::string> environment,
                      std::promise<std::optional<std::int32_t>>& launched) {
        const std::optional<pid_t> processID = spawn(std::move(words), std::move(environment));
        if (processID) {
            const std::lock_guard lock(mutex_);
            running_[*processID] = secondsSinceMachineStart();
        }
        launched.set_value(processID);
        if (processID) {
            waitFor(*processID);
        }
    }

    /// Counts a process from now on, when its launcher can ask for it, and not from when it was made.
    void noteLaunch(std::int32_t processID) {
        const std::lock_guard lock(mutex_);
        if (const auto running = running_.find(processID); running != running_.end()) {
            running->second = secondsSinceMachineStart();
        }
    }

    /// In seconds since the machine was started; 0 for a process that was not launched here.
    double launchTime(std::int32_t processID) {
        const std::lock_guard lock(mutex_);
        const auto running = running_.find(processID);
        return running == running_.end() ? 0 : running->second;
    }

    bool isRunning(std::int32_t processID) {
        const std::lock_guard lock(mutex_);
        return running_.count(processID) != 0;
    }

    int exitStatus(std::int32_t processID) {
        std::unique_lock lock(mutex_);
        exited_.wait(lock, [&] { return running_.count(processID) == 0; });
        const auto found = std::find_if(statuses_.rbegin(), statuses_.rend(),
                                        [&](const ExitStatus& exit) { return exit.processID == processID; });
        if (found == statuses_.rend()) {
            return -1;
        }
        const int status = found->status;
        statuses_.erase(std::next(found).base());
        return status;
    }

private:
    struct ExitStatus {
        std::int32_t processID;
        int status;
    };

    /// Notes the exit and only then frees the ID: it may be given to another launched process at once.
    void waitFor(pid_t processID) {
        siginfo_t information = {};
        while (::waitid(P_PID, static_cast<id_t>(processID), &information, WEXITED | WNOWAIT) != 0 &&
               errno == EINTR) {
        }
        const std::lock_guard lock(mutex_);
        const bool ended = information.si_code == CLD_EXITED;
        statuses_.push_back({processID, ended ? information.si_status : -1});
        constexpr std::size_t mostStatuses = 256; // most are never asked for
        if (statuses_.size() > mostStatuses) {
            statuses_.pop_front();
        }
        running_.erase(processID);
        ::waitpid(processID, nullptr, 0);
        exited_.notify_all();
    }

    std::mutex mutex_;
    std::condition_variable exited_;
    std::map<std::int32_t, double> running_; ///< with the times of their launches
    std::deque<ExitStatus> statuses_;        ///< in the order of the exits
};

LinuxProcesses::LinuxProcesses(const InstallationRoot& root, Bundles& bundles)
    : root_(root), bundles_(bundles), children_(std::make_shared<Children>()) {}

LinuxProcesses::~LinuxProcesses() = default;

std::vector<ProcessInformation> LinuxProcesses::list() {
    std::vector<ProcessInformation> processes;
    for (const std::int32_t id : processIDs()) {
        if (auto process = processWithID(id)) {
            processes.push_back(std::move(*process));
        }
    }
    return processes;
}

std::optional<ProcessInformation> LinuxProcesses::find(const std::string& name) {
    const std::lock_guard lock(findingMutex_);
    std::int32_t& known = found_[name];
    auto process = known == 0 ? std::nullopt : processWithID(known);
    if (process && process->name == name) {
        return process;
    }
    for (const std::int32_t id : processIDs()) {
        const auto executable = executableOf(folderOf(id));
        process = executable && lastPathComponent(*executable) == name ? processWithID(id) : std::nullopt;
        // Its ID may have become another process's in between.
        if (process && process->name == name) {
            known = id;
            return process;
        }
    }
    known = 0;
    return std::nullopt;
}

std::optional<ProcessInformation> LinuxProcesses::processWithID(std::int32_t id) {
    constexpr double listedAfterSeconds = 0.5;
    const std::string folder = folderOf(id);
    const auto status = belongsToThisUser(folder) ? processStatus(id) : std::nullopt;
    if (!status || status->state == 'Z' || status->state == 'X') {
        return std::nullopt;
    }
    const double start = std::max(status->startSeconds, children_->launchTime(id));
    const double age = secondsSinceMachineStart() - start;
    const auto executable = age >= listedAfterSeconds ? executableOf(folder) : std::nullopt;
    if (!executable) {
        return std::nullopt;
    }
    const std::string installedPath = root_.asInstalled(*executable);
    const Kind kind = kindOfExecutable(installedPath);
    const double sixtieths = status->processorSixtieths;
    return ProcessInformation{.processID = id,
                              .name = lastPathComponent(installedPath),
                              .executablePath = installedPath,
                              .type = kind.type,
                              .signature = kind.signature,
                              .activeTime = static_cast<std::uint32_t>(std::min(sixtieths, 4294967295.0))};
}

LinuxProcesses::Kind LinuxProcesses::kindOfExecutable(const std::string& executable) {
    const std::string path = bundleOfExecutable(executable);
    struct stat status = {};
    if (path.empty() ||
        ::stat(diskPath(root_, appendingPathComponent(path, "Contents/Info.plist")).c_str(), &status) != 0) {
        return {};
    }
    const timespec& modified = status.st_mtim;
    const std::lock_guard lock(mutex_);
    const auto known = kinds_.find(path);
    if (known != kinds_.end() && known->second.modified.tv_sec == modified.tv_sec &&
        known->second.modified.tv_nsec == modified.tv_nsec) {
        return known->second;
    }
    const std::shared_ptr<Bundle> bundle = bundles_.create(path);
    Kind kind{modified, 0, 0};
    if (bundle) {
        kind.type = codeAt(bundle->infoDictionary(), "CFBundlePackageType");
        kind.signature = codeAt(bundle->infoDictionary(), "CFBundleSignature");
    }
    return kinds_[path] = kind;
}

std::optional<std::int32_t> LinuxProcesses::launch(const std::string& executablePath,
                                                   const std::vector<std::string>& arguments) {
    std::vector<std::string> words{diskPath(root_, executablePath)};
    words.insert(words.end(), arguments.begin(), arguments.end());
    const bool isCut = std::any_of(words.begin(), words.end(), [](const std::string& word) {
        return word.find('\0') != std::string::npos;
    });
    if (words.front().empty() || isCut) {
        return std::nullopt;
    }
    auto launched = std::make_shared<std::promise<std::optional<std::int32_t>>>();
    std::future<std::optional<std::int32_t>> processID = launched->get_future();
    try {
        std::thread([children = children_, launched, words = std::move(words),
                     environment = environmentWithRoot(root_.path())]() mutable {
            children->startAndWait(std::move(words), std::move(environment), *launched);
        }).detach();
        const std::optional<std::int32_t> id = processID.get();
        if (id) {
            children_->noteLaunch(*id);
        }
        return id;
    } catch (const std::exception&) { // no thread, or no memory for what it needs
        return std::nullopt;
    }
}

int LinuxProcesses::waitForExit(std::int32_t processID) { return children_->exitStatus(processID); }

bool LinuxProcesses::isRunning(std::int32_t processID) { return children_->isRunning(processID); }

std::int32_t LinuxProcesses::ownProcessID() { return ::getpid(); }

} // namespace trigora::platform
