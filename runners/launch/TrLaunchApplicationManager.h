#pragma once

#include "platform/Platform.h"

#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace trigora {

/// Starts other programs and answers whether one is running. Above all it starts and ends the scan
/// assistant, the program that talks to the scanner: launched without waiting or waited for, asked to quit
/// without waiting or waited for. Every answer comes from the process list of the moment. The operations
/// with "WithWait" block the calling thread. Any thread.
class TrLaunchApplicationManager {
public:
    static std::shared_ptr<TrLaunchApplicationManager> sharedLaunchApplicationManager() {
        return platform::shared<TrLaunchApplicationManager>();
    }

    /// Starts the executable of an application bundle. Does nothing for a path that is not a bundle; the name
    /// is not used.
    void launchApplicationAtPath(const std::string& path, const std::string& appName,
                                 const std::vector<std::string>& withArgs) const;
    /// Whether a process of that type and that creator runs (four-character codes).
    bool findProcess(std::uint32_t type, std::uint32_t withCreator) const;
    /// The first of them; none when there is none.
    std::optional<std::int32_t> processID(std::uint32_t type, std::uint32_t withCreator) const;
    bool LAM_IsLaunchApplication(const std::string& name) const;
    /// Processor time of the first process of that name in sixtieths of a second; 0 when none runs.
    std::uint32_t LAM_ApplicationActiveTime(const std::string& name) const;

    bool isLaunchScanAssistant() const;
    /// None when the assistant does not run.
    std::optional<std::int32_t> scanAssistantProcessID() const;
    /// Starts the assistant; one that runs already is made to behave as if just launched. 0, or -1 when it
    /// is not installed.
    std::int32_t launchScanAssistant() const;
    /// Starts the assistant, unless it runs, and gives it two seconds. Whether it runs then. One caller at a
    /// time: the next finds the assistant that the first has started.
    bool launchScanAssistantWithWait() const;
    /// Asks the assistant to quit.
    void terminateScanAssistant() const;
    /// Asks the assistant to quit until it has gone, however long that takes, or until this program ends.
    void terminateScanAssistantWithWait() const;

    /// 0, or -1 when the agent runs already or is not installed.
    std::int32_t launchTrigoraAgent() const;
    /// Makes the agent start with the user's login, on systems before 10.6; later ones start it themselves.
    void loginTrigoraAgent() const;

private:
    mutable std::mutex startingMutex_; ///< held while the assistant is started and waited for
};

} // namespace trigora
