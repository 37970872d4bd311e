#include "projects/manager/CachedCatalogues.h"

#include "catalogue/actions/TrActionManager.h"
#include "catalogue/events/TrEventManager.h"
#include "files/ParsedFiles.h"
#include "projects/manager/TrProjectManager.h"

namespace trigora {

void SM_RefreshDataManager() {
    forgetParsedFiles();
    TrActionManager::releaseSharedManager();
    TrProjectManager::releaseSharedManager();
    TrEventManager::releaseSharedManager();
}

} // namespace trigora
