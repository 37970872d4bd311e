#include "tools/settings/SettingsSession.h"

#include "catalogue/drivers/TrScannerDriverInformation.h"
#include "files/InstalledPaths.h"
#include "files/TrFilePathUtility.h"
#include "platform/Bundles.h"
#include "platform/FileSystem.h"
#include "platform/linux/desktop/LinuxStringTable.h"
#include "projects/manager/CachedCatalogues.h"
#include "projects/manager/TrProjectManager.h"
#include "tools/overlay/OverlayDisk.h"
#include "tools/overlay/PlatformWith.h"
#include "tools/settings/SettingsError.h"

#include <algorithm>

namespace trigora::tools {

namespace {

/// The real files, except that the folders in which the running agent keeps its own are never removed.
class FilesBesideTheAgent final : public platform::FileSystem {
public:
    explicit FilesBesideTheAgent(platform::FileSystem& files)
        : files_(files), foldersOfTheAgent_{
                             TrFilePathUtility::sharedFilePathUtility()->scanToEmailTempFolderPath(),
                             paths::loginScratchFolder()} {}

    bool exists(const std::string& path) override { return files_.exists(path); }
    bool isDirectory(const std::string& path) override { return files_.isDirectory(path); }
    std::optional<std::vector<std::string>> contentsOfDirectory(const std::string& path) override {
        return files_.contentsOfDirectory(path);
    }
    bool createDirectory(const std::string& path, bool withIntermediateDirectories,
                         const std::optional<platform::FileAttributes>& attributes) override {
        return files_.createDirectory(path, withIntermediateDirectories, attributes);
    }
    bool copyItem(const std::string& path, const std::string& destination) override {
        return files_.copyItem(path, destination);
    }
    bool moveItem(const std::string& path, const std::string& destination) override {
        return files_.moveItem(path, destination);
    }
    bool removeItem(const std::string& path) override {
        const bool isOfTheAgent = std::ranges::find(foldersOfTheAgent_, path) != foldersOfTheAgent_.end();
        return !isOfTheAgent && files_.removeItem(path);
    }

private:
    platform::FileSystem& files_;
    std::vector<std::string> foldersOfTheAgent_;
};

/// The agent's bundle in the place of this program's, so that texts are those of the agent.
class AgentBundles final : public platform::Bundles {
public:
    explicit AgentBundles(platform::Bundles& bundles) : bundles_(bundles) {}

    std::shared_ptr<platform::Bundle> create(const std::string& path) override {
        return bundles_.create(path);
    }
    std::shared_ptr<platform::Bundle> mainBundle() override {
        return bundles_.create(paths::agentApplication());
    }
    std::vector<std::string> loadedModules() override { return bundles_.loadedModules(); }
    std::vector<platform::ModuleFailure> failedModules() override { return bundles_.failedModules(); }

private:
    platform::Bundles& bundles_;
};

} // namespace

struct SettingsSession::Platforms {
    explicit Platforms(platform::Platform& former)
        : disk(former), filesToChange(former.fileSystem), bundles(former.bundles),
          texts(bundles, disk.propertyLists, former.userDefaults),
          looking(platformWith(former, disk.files, disk.folders, disk.propertyLists, disk.images, texts)),
          changing(platformWith(former, filesToChange, texts)) {}

    OverlayDisk disk;
    FilesBesideTheAgent filesToChange;
    AgentBundles bundles;
    platform::LinuxStringTable texts;
    platform::Platform looking;
    platform::Platform changing;
};

SettingsSession::SettingsSession(const platform::InstallationRoot& root) : former_(platform::current()) {
    requireInstallation(root);
    platforms_ = std::make_unique<Platforms>(former_);
    platform::install(&platforms_->looking);
    SM_RefreshDataManager();
}

SettingsSession::~SettingsSession() { platform::install(&former_); }

void SettingsSession::allowChanges(const std::shared_ptr<TrScannerDriverInformation>& driver) {
    platform::install(&platforms_->changing);
    const std::string folder =
        TrFilePathUtility::sharedFilePathUtility()->customProjectPathWithScannerDriver(driver);
    if (driver && driver->isDependency() && !platform::current().fileSystem.exists(folder)) {
        TrProjectManager::sharedProjectManager()->setupDefaultProjectFolder(driver);
    }
}

void requireInstallation(const platform::InstallationRoot& root) {
    if (!platform::current().fileSystem.isDirectory(paths::resourcesFolder())) {
        throw SettingsError(SettingsError::Code::notFound,
                            "the system is not installed here: there is no folder " +
                                root.onDisk(paths::resourcesFolder()),
                            "; say with --root or TRIGORA_ROOT below which folder it lies");
    }
}

} // namespace trigora::tools
