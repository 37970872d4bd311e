#include "tools/SettingsSession.h"

#include "catalogue/TrScannerDriverInformation.h"
#include "files/InstalledPaths.h"
#include "files/TrFilePathUtility.h"
#include "platform/FileSystem.h"
#include "platform/Formats.h"
#include "platform/Processes.h"
#include "platform/Text.h"
#include "platform/linux/OfflineBus.h"
#include "projects/CachedCatalogues.h"
#include "tools/Command.h"

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

class SettingsSession::CarefulFileSystem final : public platform::FileSystem {
public:
    explicit CarefulFileSystem(platform::FileSystem& files)
        : files_(files), foldersOfTheAgent_{
                             TrFilePathUtility::sharedFilePathUtility()->scanToEmailTempFolderPath(),
                             paths::loginScratchFolder()} {}

    void allowChanges() { mayChange_ = true; }

    bool exists(const std::string& path) override { return files_.exists(path); }
    bool isDirectory(const std::string& path) override { return files_.isDirectory(path); }
    std::optional<std::vector<std::string>> contentsOfDirectory(const std::string& path) override {
        return files_.contentsOfDirectory(path);
    }
    bool createDirectory(const std::string& path, bool withIntermediateDirectories,
                         const std::optional<platform::FileAttributes>& attributes) override {
        return mayChange_ && files_.createDirectory(path, withIntermediateDirectories, attributes);
    }
    bool copyItem(const std::string& path, const std::string& destination) override {
        return mayChange_ && files_.copyItem(path, destination);
    }
    bool moveItem(const std::string& path, const std::string& destination) override {
        return mayChange_ && files_.moveItem(path, destination);
    }
    bool removeItem(const std::string& path) override {
        const bool isOfTheAgent = std::ranges::find(foldersOfTheAgent_, path) != foldersOfTheAgent_.end();
        return mayChange_ && !isOfTheAgent && files_.removeItem(path);
    }

private:
    platform::FileSystem& files_;
    std::vector<std::string> foldersOfTheAgent_;
    bool mayChange_ = false;
};

/// Says where the documents folder would be instead of making it.
class SettingsSession::CarefulFolders final : public platform::Folders {
public:
    explicit CarefulFolders(platform::Folders& folders) : folders_(folders) {}

    void allowChanges() { mayChange_ = true; }

    std::string home() override { return folders_.home(); }
    std::optional<std::string> documents() override {
        return mayChange_ ? folders_.documents() : folders_.documentsPath();
    }
    std::string documentsPath() override { return folders_.documentsPath(); }
    std::optional<std::string> applications() override { return folders_.applications(); }

private:
    platform::Folders& folders_;
    bool mayChange_ = false;
};

SettingsSession::SettingsSession()
    : former_(platform::current()), fileSystem_(std::make_unique<CarefulFileSystem>(former_.fileSystem)),
      folders_(std::make_unique<CarefulFolders>(former_.folders)) {
    if (!former_.fileSystem.isDirectory(paths::resourcesFolder())) {
        throw Failure(notFound, "the system is not installed here: there is no folder " +
                                    paths::resourcesFolder() +
                                    "; say with --root or TRIGORA_ROOT below which folder it lies");
    }
    platform_ = std::make_unique<platform::Platform>(platform::Platform{former_.runLoop,
                                                                        former_.clock,
                                                                        former_.notifications,
                                                                        former_.appleEvents,
                                                                        former_.processes,
                                                                        former_.workspace,
                                                                        former_.bundles,
                                                                        *fileSystem_,
                                                                        former_.fileContents,
                                                                        former_.fileMetadata,
                                                                        *folders_,
                                                                        former_.textEncodings,
                                                                        former_.propertyLists,
                                                                        former_.json,
                                                                        former_.messageDigest,
                                                                        former_.images,
                                                                        former_.userDefaults,
                                                                        former_.systemInformation,
                                                                        former_.alertPanel,
                                                                        former_.stringTable,
                                                                        former_.console,
                                                                        former_.idConverter,
                                                                        former_.lowMemory,
                                                                        former_.sharedInstances});
    platform::install(platform_.get());
    releaseCachedCatalogues();
}

SettingsSession::~SettingsSession() { platform::install(&former_); }

void SettingsSession::allowChanges() {
    fileSystem_->allowChanges();
    folders_->allowChanges();
}

void SettingsSession::prepareProjectsOf(const std::shared_ptr<TrScannerDriverInformation>& driver) {
    const std::string folder =
        TrFilePathUtility::sharedFilePathUtility()->customProjectPathWithScannerDriver(driver);
    if (driver && driver->isDependency() && !platform::current().fileSystem.exists(folder)) {
        allowChanges();
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

AgentNotice agentNotice() {
    platform::Platform& platform = platform::current();
    if (dynamic_cast<const platform::OfflineNotifications*>(&platform.notifications) != nullptr) {
        return AgentNotice::noBus;
    }
    const std::string agent = platform::lastPathComponent(paths::agentExecutable());
    const auto processes = platform.processes.list();
    const bool isRunning = std::ranges::any_of(
        processes, [&](const platform::ProcessInformation& process) { return process.name == agent; });
    return isRunning ? AgentNotice::told : AgentNotice::notRunning;
}

std::string noticeSentence(AgentNotice notice) {
    switch (notice) {
    case AgentNotice::told:
        return "The agent was told.";
    case AgentNotice::notRunning:
        return "The agent is not running; it reads this when it starts.";
    case AgentNotice::noBus:
        break;
    }
    return "There is no session bus, so no agent was told; one that is running keeps what it has read.";
}

} // namespace trigora::tools
