#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace trigora::platform {

struct ApplicationLaunch {
    std::int32_t status = 0;    ///< 0 when it runs; -43 when there is no such application, else -10810
    std::int32_t processID = 0; ///< valid when the status is 0
};

/// What the desktop does for the agent. Nothing is ever passed through a shell.
class Workspace {
public:
    virtual ~Workspace() = default;

    /// Opens a file or folder with an application: an application bundle, a program, a desktop entry, or
    /// "Finder" for the desktop's file manager, which shows a file in its folder and opens a folder. False
    /// when nothing could be started.
    virtual bool openFile(const std::string& path, const std::string& application) = 0;
    /// Starts an application bundle, or a program, without arguments. A bundle that runs already is not
    /// started again: its process is the answer.
    virtual ApplicationLaunch launchApplication(const std::string& path) = 0;
    /// Where the application with a bundle identifier is installed.
    virtual std::optional<std::string> findApplication(const std::string& bundleIdentifier) = 0;
};

} // namespace trigora::platform
