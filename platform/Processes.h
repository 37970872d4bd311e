#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace trigora::platform {

struct ProcessInformation {
    std::int32_t processID = 0;
    std::string name;             ///< file name of the executable, or of the script that an interpreter runs
    std::string executablePath;   ///< of the executable or script; as installed below the installation root
    std::uint32_t type = 0;       ///< "CFBundlePackageType" of the bundle the executable lies in, or 0
    std::uint32_t signature = 0;  ///< "CFBundleSignature" of that bundle, or 0
    std::uint32_t activeTime = 0; ///< processor time used, in sixtieths of a second
};

/// The processes of this user's session: the program's own children, those that were started with the same
/// session bus, and those that have taken a name on it. Executable paths below the installation root are
/// given as installed paths. Any thread.
class Processes {
public:
    virtual ~Processes() = default;

    /// Every running process, in ascending order of ID. One that has exited is not listed.
    virtual std::vector<ProcessInformation> list() = 0;
    /// One of the listed processes with that name; none when there is none. After a launch of the name from
    /// here none is found until half a second after the first look, whoever started it: who waits for what it
    /// has launched to end does not take its beginning for it, however slow this program was to look.
    virtual std::optional<ProcessInformation> find(const std::string& name) {
        for (ProcessInformation& process : list()) {
            if (process.name == name) {
                return std::move(process);
            }
        }
        return std::nullopt;
    }
    /// Starts a program without waiting for it; returns its process ID, or nothing when it cannot be
    /// started. Nobody needs to wait for it.
    virtual std::optional<std::int32_t> launch(const std::string& executablePath,
                                               const std::vector<std::string>& arguments) = 0;
    /// Waits until a launched process has exited; returns its exit status, or -1 when it is not known, also
    /// because this program is ending and waits no longer.
    virtual int waitForExit(std::int32_t processID) = 0;
    /// Whether a launched process has not exited yet, listed or not.
    virtual bool isRunning(std::int32_t processID) = 0;
    virtual std::int32_t ownProcessID() = 0;
};

} // namespace trigora::platform
