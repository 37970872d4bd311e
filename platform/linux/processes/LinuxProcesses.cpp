#include "platform/linux/processes/LinuxProcesses.h"

#include "platform/Text.h"
#include "platform/linux/files/DiskPath.h"
#include "platform/linux/modules/LinuxBundles.h"
#include "platform/linux/processes/ProcFile.h"
#include "platform/linux/processes/ProcessStatus.h"
#include "platform/linux/processes/RunningProgram.h"
#include "platform/linux/processes/SessionBusAddress.h"

#include <algorithm>
#include <cerrno>
#include <charconv>
#include <chrono>
#include <condition_variable>
#include <csignal>
#include <deque>
#include <filesystem>
#include <future>
#include <iterator>
#include <set>
#include <spawn.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace trigora::platform {

namespace {

namespace fs = std::filesystem;
using std::chrono::steady_clock;

bool belongsToThisUser(std::int32_t processID) {
    struct stat status = {};
    return ::stat(("/proc/" + std::to_string(processID)).c_str(), &status) == 0 &&
           status.st_uid == ::geteuid();
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
            running_.insert(*processID);
        }
        launched.set_value(processID);
        if (processID) {
            waitFor(*processID);
        }
    }

    bool isRunning(std::int32_t processID) {
        const std::lock_guard lock(mutex_);
        return running_.count(processID) != 0;
    }

    /// -1 also when the wait was given up.
    int exitStatus(std::int32_t processID, RunLoop& runLoop) {
        constexpr auto lookingInterval = std::chrono::milliseconds(250);
        std::unique_lock lock(mutex_);
        const auto hasExited = [&] { return running_.count(processID) == 0; };
        while (!exited_.wait_for(lock, lookingInterval, hasExited) && !runLoop.isEnding()) {
        }
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
    std::set<std::int32_t> running_;
    std::deque<ExitStatus> statuses_; ///< in the order of the exits
};

/// The names that the program has launched and not looked for since.
class LinuxProcesses::RecentLaunches {
public:
    void note(const std::string& name) {
        const std::lock_guard lock(mutex_);
        launches_[name] = {steady_clock::now(), std::nullopt};
    }

    /// A look for a name, which may be the first after its launch.
    bool isHidden(const std::string& name) {
        const std::lock_guard lock(mutex_);
        const auto found = launches_.find(name);
        if (found == launches_.end()) {
            return false;
        }
        Launch& launch = found->second;
        const auto now = steady_clock::now(); // stands still while the machine sleeps
        if (!launch.firstLook && now - launch.time < hiddenUntilLooked) {
            launch.firstLook = now;
        }
        if (launch.firstLook && now - *launch.firstLook < hiddenOnceLooked) {
            return true;
        }
        launches_.erase(found);
        return false;
    }

private:
    struct Launch {
        steady_clock::time_point time;
        std::optional<steady_clock::time_point> firstLook;
    };

    static constexpr auto hiddenOnceLooked = std::chrono::milliseconds(500);
    /// Far longer than the program can be held up between a launch and the look that follows it.
    static constexpr auto hiddenUntilLooked = std::chrono::minutes(1);

    std::mutex mutex_;
    std::map<std::string, Launch> launches_;
};

/// Whether processes belong to this program's session. Asks the bus once, and only when it has to.
class LinuxProcesses::Session {
public:
    Session(const std::string& busAddress, const NamedProcesses& namedProcesses)
        : busAddress_(busAddress), namedProcesses_(namedProcesses) {}

    bool includes(std::int32_t id, const ProcessStatus& status) {
        return status.parentID == ::getpid() || isStartedInSession(id) || isNamedOnBus(id);
    }

private:
    bool isStartedInSession(std::int32_t id) const {
        return withoutServerID(sessionBusAddress(procFile(id, "environ"))) == busAddress_;
    }

    bool isNamedOnBus(std::int32_t id) {
        if (!named_) {
            named_ = namedProcesses_ ? namedProcesses_() : std::vector<std::int32_t>();
        }
        return std::find(named_->begin(), named_->end(), id) != named_->end();
    }

    const std::string& busAddress_;
    const NamedProcesses& namedProcesses_;
    std::optional<std::vector<std::int32_t>> named_;
};

LinuxProcesses::LinuxProcesses(const InstallationRoot& root, Bundles& bundles, RunLoop& runLoop,
                               NamedProcesses namedProcesses)
    : root_(root), bundles_(bundles), runLoop_(runLoop), namedProcesses_(std::move(namedProcesses)),
      busAddress_(withoutServerID(sessionBusAddress())), children_(std::make_shared<Children>()),
      recentLaunches_(std::make_unique<RecentLaunches>()) {}

LinuxProcesses::~LinuxProcesses() = default;

std::vector<ProcessInformation> LinuxProcesses::list() {
    std::vector<ProcessInformation> processes;
    Session session(busAddress_, namedProcesses_);
    for (const std::int32_t id : processIDs()) {
        if (auto process = processWithID(id, session)) {
            processes.push_back(std::move(*process));
        }
    }
    return processes;
}

std::optional<ProcessInformation> LinuxProcesses::find(const std::string& name) {
    if (recentLaunches_->isHidden(name)) {
        return std::nullopt;
    }
    const std::lock_guard lock(findingMutex_);
    Session session(busAddress_, namedProcesses_);
    std::int32_t& known = found_[name];
    auto process = known == 0 ? std::nullopt : processWithID(known, session);
    if (process && process->name == name) {
        return process;
    }
    for (const std::int32_t id : processIDs()) {
        process = mayRunProgram(id, name) ? processWithID(id, session) : std::nullopt;
        if (process && process->name == name) {
            known = id;
            return process;
        }
    }
    known = 0;
    return std::nullopt;
}

std::optional<ProcessInformation> LinuxProcesses::processWithID(std::int32_t id, Session& session) {
    const auto status = belongsToThisUser(id) ? processStatus(id) : std::nullopt;
    if (!status || status->state == 'Z' || status->state == 'X' || !session.includes(id, *status)) {
        return std::nullopt;
    }
    const auto program = runningProgram(id);
    if (!program) {
        return std::nullopt;
    }
    const std::string installedPath = root_.asInstalled(*program);
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
    recentLaunches_->note(lastPathComponent(executablePath));
    auto launched = std::make_shared<std::promise<std::optional<std::int32_t>>>();
    std::future<std::optional<std::int32_t>> processID = launched->get_future();
    try {
        std::thread([children = children_, launched, words = std::move(words),
                     environment = environmentWithRoot(root_.path())]() mutable {
            children->startAndWait(std::move(words), std::move(environment), *launched);
        }).detach();
        return processID.get();
    } catch (const std::exception&) { // no thread, or no memory for what it needs
        return std::nullopt;
    }
}

int LinuxProcesses::waitForExit(std::int32_t processID) { return children_->exitStatus(processID, runLoop_); }

bool LinuxProcesses::isRunning(std::int32_t processID) { return children_->isRunning(processID); }

std::int32_t LinuxProcesses::ownProcessID() { return ::getpid(); }

} // namespace trigora::platform
