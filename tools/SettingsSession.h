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

/// One command's use of the system's classes, with the agent's texts. Everything is read afresh. Until
/// changes are allowed, whatever some of the classes write while they read stays in memory; and the folders
/// in which the running agent keeps pages and its temporary files are never emptied.
///
/// The usual order: made; everything that was asked for is checked; changes are allowed; they are made; the
/// agent is told. Throws a `Failure` when the system is not installed.
class SettingsSession {
public:
    SettingsSession();
    ~SettingsSession();
    SettingsSession(const SettingsSession&) = delete;
    SettingsSession& operator=(const SettingsSession&) = delete;

    /// From now on what is written is written to the disk. A model (of the driver; null for none) that keeps
    /// its projects apart and has none yet gets those that come with the device, as it would from the agent.
    void allowChanges(const std::shared_ptr<TrScannerDriverInformation>& driver = nullptr);

private:
    struct Platforms;

    platform::Platform& former_;
    std::unique_ptr<Platforms> platforms_;
};

/// Throws a `Failure` when there is no system below the root.
void requireInstallation();

/// Of the files that hold the button bindings of a model (or of none), those that cannot be read. While
/// there is no file of this version, that of the earlier version counts.
std::vector<std::string> damagedBindingFiles(const std::optional<std::string>& modelID);
/// The same for the settings of the watched folders.
std::vector<std::string> damagedWatchedFolderFiles();
/// What is wrong with such a file and what to do.
std::string damageSentence(const std::string& path);
/// Throws a `Failure` when there are damaged files, so that nothing takes their place.
void requireUndamaged(const std::vector<std::string>& damagedFiles);

} // namespace trigora::tools
