#pragma once

#include "platform/Bundles.h"
#include "platform/Processes.h"
#include "platform/RunLoop.h"
#include "platform/linux/files/InstallationRoot.h"

#include <ctime>
#include <functional>
#include <map>
#include <memory>
#include <mutex>

namespace trigora::platform {

/// Lists from /proc. Each launched process has a thread of its own that starts it and then sleeps until it
/// has exited, so that no zombie is left and nobody needs to ask. That thread does not hold the program
/// back when it ends; the children go on without it.
class LinuxProcesses final : public Processes {
public:
    /// The IDs of the processes that have taken a name on the session bus. Any thread.
    using NamedProcesses = std::function<std::vector<std::int32_t>()>;

    LinuxProcesses(const InstallationRoot& root, Bundles& bundles, RunLoop& runLoop,
                   NamedProcesses namedProcesses);
    LinuxProcesses(const LinuxProcesses&) = delete;
    LinuxProcesses& operator=(const LinuxProcesses&) = delete;
    ~LinuxProcesses() override;

    /// Processes whose executable cannot be looked at (those that are protected even from their own user)
    /// are not listed.
    std::vector<ProcessInformation> list() override;
    /// Takes a few microseconds for a process that was found before and still runs.
    std::optional<ProcessInformation> find(const std::string& name) override;
    /// The child gets the standard three descriptors, no blocked or ignored signals, and TRIGORA_ROOT. The
    /// executable is relocated, the arguments stand as they are; one with a NUL in it cannot be passed.
    std::optional<std::int32_t> launch(const std::string& executablePath,
                                       const std::vector<std::string>& arguments) override;
    /// -1 for a process that was not launched here, that a signal ended, or that was waited for already.
    int waitForExit(std::int32_t processID) override;
    /// False for a process that was not launched here.
    bool isRunning(std::int32_t processID) override;
    std::int32_t ownProcessID() override;

    class Children;

private:
    class RecentLaunches;
    class Session;

    /// Type and signature of a bundle, good for as long as its Info.plist is not changed.
    struct Kind {
        timespec modified = {};
        std::uint32_t type = 0;
        std::uint32_t signature = 0;
    };

    /// None when there is no such process to list.
    std::optional<ProcessInformation> processWithID(std::int32_t id, Session& session);
    Kind kindOfExecutable(const std::string& executable);

    const InstallationRoot& root_;
    Bundles& bundles_;
    RunLoop& runLoop_;
    const NamedProcesses namedProcesses_;
    const std::string busAddress_; ///< without the server's ID
    std::shared_ptr<Children> children_;
    std::unique_ptr<RecentLaunches> recentLaunches_;
    std::mutex mutex_;
    std::map<std::string, Kind> kinds_;         ///< by bundle path; guarded by mutex_
    std::mutex findingMutex_;                   ///< taken before mutex_
    std::map<std::string, std::int32_t> found_; ///< IDs by name, 0 for none; guarded by findingMutex_
};

} // namespace trigora::platform
