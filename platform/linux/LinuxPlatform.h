#pragma once

#include "platform/Platform.h"
#include "platform/linux/files/InstallationRoot.h"

#include <memory>
#include <string>

namespace trigora::platform {

class BusConnection;
class LinuxRunLoop;

/// The complete real platform of one program. Usual order in `main`, before there is any other thread:
///
///     std::string error;
///     const auto real = LinuxPlatform::create({.root = rootOption}, error);
///     if (!real) { say `error`; fail }
///     platform::install(&real->platform());
///     …use it; runLoop().run()…
///
/// When it is destroyed, the process-wide instances die first, while the platform is still in use; then no
/// platform is in use any more.
class LinuxPlatform {
public:
    struct Options {
        std::string root;           ///< what the user gave as the installation root; empty for nothing
        std::string mainBundlePath; ///< installed path; empty for the bundle that the executable lies in
        bool needsBus = true;       ///< otherwise it may be missing, see OfflineBus.h
    };

    /// Null when there is no session bus but one is needed; the error is then a sentence for the user. From
    /// here on writing to a closed pipe is a failure and no longer ends the program.
    static std::unique_ptr<LinuxPlatform> create(const Options& options, std::string& error);

    LinuxPlatform(const LinuxPlatform&) = delete;
    LinuxPlatform& operator=(const LinuxPlatform&) = delete;
    ~LinuxPlatform();

    Platform& platform();
    const InstallationRoot& root() const;
    /// For what the plain interface does not have, such as signals.
    LinuxRunLoop& runLoop();
    /// For taking names on the bus and hearing of its loss; null when there is no bus.
    BusConnection* bus();

    /// Tell the service manager, when one has started this program, how far it is.
    static void notifyReady();
    static void notifyStopping();

private:
    struct Parts;

    explicit LinuxPlatform(std::unique_ptr<Parts> parts);

    std::unique_ptr<Parts> parts_;
};

} // namespace trigora::platform
