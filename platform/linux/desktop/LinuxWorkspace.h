#pragma once

#include "platform/Bundles.h"
#include "platform/FileSystem.h"
#include "platform/Processes.h"
#include "platform/Workspace.h"
#include "platform/linux/desktop/FileManager.h"
#include "platform/linux/files/InstallationRoot.h"

#include <vector>

namespace trigora::platform {

/// An application is a bundle (by its path, or by its name when it lies in "/Applications" or a folder in
/// it), a program (by its path, or by its name when it lies on PATH), a desktop entry (by its path, handed
/// to `gio launch`), or "Finder", the desktop's file manager: it shows a file in its folder and opens a
/// folder.
class LinuxWorkspace final : public Workspace {
public:
    LinuxWorkspace(const InstallationRoot& root, FileSystem& fileSystem, Bundles& bundles,
                   Processes& processes);

    /// The file must exist; the program is given its path on the disk, as it does not know the root.
    bool openFile(const std::string& path, const std::string& application) override;
    ApplicationLaunch launchApplication(const std::string& path) override;
    /// Looks in "/Applications" and in the folders directly in it.
    std::optional<std::string> findApplication(const std::string& bundleIdentifier) override;

private:
    /// A program and its first arguments; the program's path is empty when there is none.
    struct Command {
        std::string program;
        std::vector<std::string> arguments;
    };

    /// In the file manager; where none can be asked to show a file, its folder is opened.
    bool showFile(const std::string& path);
    Command commandFor(const std::string& application);
    std::optional<std::int32_t> runningProcess(const std::string& program);
    /// Empty when no bundle of that name is installed.
    std::string bundleNamed(const std::string& name);
    /// Paths of the bundles that `findApplication` looks at.
    std::vector<std::string> installedApplications();

    const InstallationRoot& root_;
    FileSystem& fileSystem_;
    Bundles& bundles_;
    Processes& processes_;
    FileManager fileManager_;
};

} // namespace trigora::platform
