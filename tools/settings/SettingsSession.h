#pragma once

#include "platform/Platform.h"
#include "platform/linux/files/InstallationRoot.h"

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
/// agent is told. Throws a `SettingsError` when the system is not installed.
class SettingsSession {
public:
    explicit SettingsSession(const platform::InstallationRoot& root);
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

/// Throws a `SettingsError` when there is no system below the root.
void requireInstallation(const platform::InstallationRoot& root);

} // namespace trigora::tools
