#include "catalogue/TrActionManager.h"

#include "catalogue/TrActionInformation.h"
#include "files/FileManagerExtension.h"
#include "files/InstalledPaths.h"
#include "platform/Platform.h"
#include "platform/Text.h"

namespace trigora {

std::shared_ptr<TrActionManager> TrActionManager::sharedActionManager() {
    return platform::shared<TrActionManager>();
}

void TrActionManager::releaseSharedManager() { platform::releaseShared<TrActionManager>(); }

TrActionManager::TrActionManager() { AM_Initialize(); }

void TrActionManager::AM_Initialize() {
    const std::string folder = paths::actionFolder();
    ActionList actions;
    for (const std::string& name : exDirectoryContentsAtPath(folder).value_or(std::vector<std::string>())) {
        if (platform::pathExtension(name) == "adi") {
            actions.push_back(
                TrActionInformation::initWithPath(platform::appendingPathComponent(folder, name)));
        }
    }
    if (!actions.empty()) {
        array_PredefinedActionList = std::move(actions);
    }
}

} // namespace trigora
