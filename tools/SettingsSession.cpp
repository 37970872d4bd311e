#include "tools/SettingsSession.h"

#include "catalogue/drivers/TrScannerDriverInformation.h"
#include "files/InstalledPaths.h"
#include "files/TrFilePathUtility.h"
#include "platform/Bundles.h"
#include "platform/FileSystem.h"
#include "platform/Formats.h"
#include "platform/linux/desktop/LinuxStringTable.h"
#include "platform/linux/formats/LinuxFormats.h"
#include "projects/manager/CachedCatalogues.h"
#include "projects/manager/TrProjectManager.h"
#include "tools/Command.h"
#include "tools/OverlayFiles.h"
#include "tools/Report.h"

#include <algorithm>

namespace trigora::tools {

namespace {

bool isDamaged(const std::string& path) {
    platform::Platform& platform = platform::current();
    if (!platform.fileSystem.exists(path)) {
        return false;
    }
    const std::optional<Value> value = platform.propertyLists.read(path);
    return !value || value->dictionary() == nullptr;
}

std::vector<std::string> damagedOf(const std::vector<std::string>& paths) {
    std::vector<std::string> damaged;
    std::ranges::copy_if(paths, std::back_inserter(damaged), isDamaged);
    return damaged;
}

} // namespace

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

/// Says where the documents folder would be instead of making it.
class FoldersAsTheyAre final : public platform::Folders {
public:
    explicit FoldersAsTheyAre(platform::Folders& folders) : folders_(folders) {}

    std::string home() override { return folders_.home(); }
    std::optional<std::string> documents() override { return folders_.documentsPath(); }
    std::string documentsPath() override { return folders_.documentsPath(); }
    std::optional<std::string> applications() override { return folders_.applications(); }

private:
    platform::Folders& folders_;
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

/// The former platform with other files and texts.
platform::Platform platformWith(platform::Platform& former, platform::FileSystem& fileSystem,
                                platform::FileContents& contents, platform::FileMetadata& metadata,
                                platform::Folders& folders, platform::PropertyLists& propertyLists,
                                platform::Images& images, platform::StringTable& texts) {
    return {former.runLoop,
            former.clock,
            former.notifications,
            former.appleEvents,
            former.processes,
            former.workspace,
            former.bundles,
            fileSystem,
            contents,
            metadata,
            folders,
            former.textEncodings,
            propertyLists,
            former.json,
            former.messageDigest,
            images,
            former.userDefaults,
            former.systemInformation,
            former.alertPanel,
            texts,
            former.console,
            former.idConverter,
            former.lowMemory,
            former.sharedInstances};
}

} // namespace

struct SettingsSession::Platforms {
    explicit Platforms(platform::Platform& former)
        : overlay(former.fileSystem, former.fileContents, former.fileMetadata),
          filesToChange(former.fileSystem), folders(former.folders), propertyLists(overlay), images(overlay),
          bundles(former.bundles), texts(bundles, propertyLists, former.userDefaults),
          looking(platformWith(former, overlay, overlay, overlay, folders, propertyLists, images, texts)),
          changing(platformWith(former, filesToChange, former.fileContents, former.fileMetadata,
                                former.folders, former.propertyLists, former.images, texts)) {}

    OverlayFiles overlay;
    FilesBesideTheAgent filesToChange;
    FoldersAsTheyAre folders;
    platform::LinuxPropertyLists propertyLists;
    platform::PngImages images;
    AgentBundles bundles;
    platform::LinuxStringTable texts;
    platform::Platform looking;
    platform::Platform changing;
};

SettingsSession::SettingsSession() : former_(platform::current()) {
    requireInstallation();
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

void requireInstallation() {
    if (!platform::current().fileSystem.isDirectory(paths::resourcesFolder())) {
        throw Failure(notFound, "the system is not installed here: there is no folder " +
                                    pathOnDisk(paths::resourcesFolder()) +
                                    "; say with --root or TRIGORA_ROOT below which folder it lies");
    }
}

std::vector<std::string> damagedBindingFiles(const std::optional<std::string>& modelID) {
    const std::string current = paths::buttonBindingsFile(modelID);
    const bool hasCurrent = platform::current().fileSystem.exists(current);
    return damagedOf({hasCurrent ? current : paths::formerButtonBindingsFile(modelID)});
}

std::vector<std::string> damagedWatchedFolderFiles() {
    const std::string current = paths::watchedFolderSettingsFile();
    if (platform::current().fileSystem.exists(current)) {
        return damagedOf({current});
    }
    return damagedOf({paths::formerWatchedFolderBindingsFile(), paths::formerWatchedFolderSettingsFile(1),
                      paths::formerWatchedFolderSettingsFile(2), paths::formerWatchedFolderSettingsFile(3)});
}

std::string damageSentence(const std::string& path) {
    return path +
           " is damaged or cannot be read; it was left as it is. Put a good copy in its place, or move "
           "it away to begin anew";
}

void requireUndamaged(const std::vector<std::string>& damagedFiles) {
    if (!damagedFiles.empty()) {
        throw Failure(failed, damageSentence(damagedFiles.front()) + ". Nothing was changed");
    }
}

} // namespace trigora::tools
