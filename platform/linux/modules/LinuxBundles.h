#pragma once

#include "platform/Bundles.h"
#include "platform/FileSystem.h"
#include "platform/Formats.h"
#include "platform/linux/files/InstallationRoot.h"

#include <mutex>

namespace trigora::platform {

/// The bundle whose "Contents/MacOS" the executable lies in; empty for any other place.
std::string bundleOfExecutable(const std::string& executable);

/// Modules are opened with dlopen (RTLD_NOW | RTLD_LOCAL). The main bundle's path is given by who starts
/// the program; while it does not exist there is no main bundle.
class LinuxBundles final : public Bundles {
public:
    LinuxBundles(const InstallationRoot& root, FileSystem& fileSystem, PropertyLists& propertyLists,
                 std::string mainBundlePath);

    std::shared_ptr<Bundle> create(const std::string& path) override;
    std::shared_ptr<Bundle> mainBundle() override;
    std::vector<std::string> loadedModules() override;
    std::vector<ModuleFailure> failedModules() override;

    /// The bundles whose code is loaded, in the order of their first loading, and those where that failed.
    class Loaded {
    public:
        void add(const std::string& path);
        void remove(const std::string& path);
        void addFailure(const std::string& path, const std::string& reason);
        std::vector<std::string> paths();
        std::vector<ModuleFailure> failures();

    private:
        struct Entry {
            std::string path;
            std::size_t loadings; ///< that have not been undone
        };

        std::mutex mutex_;
        std::vector<Entry> entries_;
        std::vector<ModuleFailure> failures_;
    };

private:
    const InstallationRoot& root_;
    FileSystem& fileSystem_;
    PropertyLists& propertyLists_;
    std::string mainBundlePath_;
    std::mutex mutex_;
    std::shared_ptr<Bundle> mainBundle_;
    std::shared_ptr<Loaded> loaded_ = std::make_shared<Loaded>();
};

} // namespace trigora::platform
