#include "catalogue/actions/TrActionManager.h"

#include "catalogue/actions/TrActionInformation.h"
#include "files/FileManagerExtension.h"
#include "files/InstalledPaths.h"
#include "platform/Platform.h"

namespace trigora {

std::shared_ptr<TrActionManager> TrActionManager::sharedActionManager() {
    return platform::shared<TrActionManager>();
}

void TrActionManager::releaseSharedManager() { platform::releaseShared<TrActionManager>(); }

TrActionManager::TrActionManager() { AM_Initialize(); }

void TrActionManager::AM_Initialize() {
    ActionList actions;
    for (const std::string& path : pathsWithExtension(paths::actionFolder(), "adi")) {
        actions.push_back(TrActionInformation::initWithPath(path));
    }
    if (!actions.empty()) {
        array_PredefinedActionList = std::move(actions);
    }
}

} // namespace trigora
