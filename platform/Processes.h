#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace trigora::platform {

struct ProcessInformation {
    std::int32_t processID = 0;
    std::string name;             ///< file name of the executable
    std::string executablePath;   ///< as installed, when it lies below the installation root
    std::uint32_t type = 0;       ///< "CFBundlePackageType" of the bundle the executable lies in, or 0
    std::uint32_t signature = 0;  ///< "CFBundleSignature" of that bundle, or 0
    std::uint32_t activeTime = 0; ///< processor time used, in sixtieths of a second
};

/// The processes of this user. Executable paths below the installation root are given as installed
/// paths. Any thread.
class Processes {
public:
    virtual ~Processes() = default;

    /// Every running process, in ascending order of ID. A process is listed once it has been alive for
    /// half a second, one launched here half a second after the launch; one that has exited is not listed.
    virtual std::vector<ProcessInformation> list() = 0;
    /// One of the listed processes with that name; none when there is none.
    virtual std::optional<ProcessInformation> find(const std::string& name) {
        for (ProcessInformation& process : list()) {
            if (process.name == name) {
                return std::move(process);
            }
        }
        return std::nullopt;
    }
    /// Starts a program without waiting for it; gives its process ID, or nothing when it cannot be
    /// started. Nobody needs to wait for it.
    virtual std::optional<std::int32_t> launch(const std::string& executablePath,
                                               const std::vector<std::string>& arguments) = 0;
    /// Waits until a launched process has exited; gives its exit status, or -1 when it is not known.
    virtual int waitForExit(std::int32_t processID) = 0;
    /// Whether a launched process has not exited yet, listed or not.
    virtual bool isRunning(std::int32_t processID) = 0;
    virtual std::int32_t ownProcessID() = 0;
};

} // namespace trigora::platform
