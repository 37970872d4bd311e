#pragma once

#include "platform/Platform.h"

#include <memory>
#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace trigora {
class TrScannerDriverInformation;
}

namespace trigora::tools {

/// One command's use of the system's classes. Everything is read afresh. Until changes are allowed, no file
/// or folder is made, moved or removed, although some of the classes would do so while they read; and the
/// folders in which the running agent keeps pages and its temporary files are never emptied.
///
/// The usual order: made; everything that was asked for is checked; changes are allowed; they are made; the
/// agent is told. Throws a `Failure` when the system is not installed.
class SettingsSession {
public:
    SettingsSession();
    ~SettingsSession();
    SettingsSession(const SettingsSession&) = delete;
    SettingsSession& operator=(const SettingsSession&) = delete;

    void allowChanges();
    /// Called before the projects of a driver are looked at by a command that changes something. A model
    /// that has its own projects gets those that come with the device when they are first looked at, so
    /// changes are allowed early if that has not happened yet.
    void prepareProjectsOf(const std::shared_ptr<TrScannerDriverInformation>& driver);

private:
    class CarefulFileSystem;
    class CarefulFolders;

    platform::Platform& former_;
    std::unique_ptr<CarefulFileSystem> fileSystem_;
    std::unique_ptr<CarefulFolders> folders_;
    std::unique_ptr<platform::Platform> platform_;
};

/// Of the files that hold the button bindings of a model (or of none), those that cannot be read. While
/// there is no file of this version, that of the earlier version counts.
std::vector<std::string> damagedBindingFiles(const std::optional<std::string>& modelID);
/// The same for the settings of the watched folders.
std::vector<std::string> damagedWatchedFolderFiles();
/// What is wrong with such a file and what to do.
std::string damageSentence(const std::string& path);
/// Throws a `Failure` when there are damaged files, so that nothing takes their place.
void requireUndamaged(const std::vector<std::string>& damagedFiles);

/// Whether a change reached the agent.
enum class AgentNotice {
    told,
    notRunning, ///< it reads the change when it starts
    noBus,      ///< this program is outside the session: an agent there keeps what it has read
};
/// Whether posts of this program reach an agent now.
AgentNotice agentNotice();
std::string noticeSentence(AgentNotice notice);

} // namespace trigora::tools
