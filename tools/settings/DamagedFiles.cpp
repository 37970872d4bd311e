#include "tools/settings/DamagedFiles.h"

#include "files/InstalledPaths.h"
#include "platform/FileSystem.h"
#include "platform/Formats.h"
#include "platform/Platform.h"
#include "tools/settings/SettingsError.h"

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

std::string bindingsFileInUse(const std::optional<std::string>& modelID) {
    std::string current = paths::buttonBindingsFile(modelID);
    return platform::current().fileSystem.exists(current) ? current
                                                          : paths::formerButtonBindingsFile(modelID);
}

std::vector<std::string> damagedBindingFiles(const std::optional<std::string>& modelID) {
    return damagedOf({bindingsFileInUse(modelID)});
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
        throw SettingsError(SettingsError::Code::failed,
                            damageSentence(damagedFiles.front()) + ". Nothing was changed");
    }
}

} // namespace trigora::tools
