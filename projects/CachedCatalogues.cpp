#include "projects/CachedCatalogues.h"

#include "catalogue/TrActionManager.h"
#include "catalogue/TrEventManager.h"
#include "files/ParsedFiles.h"
#include "projects/TrProjectManager.h"

namespace trigora {

void releaseCachedCatalogues() {
    forgetParsedFiles();
    TrActionManager::releaseSharedManager();
    TrProjectManager::releaseSharedManager();
    TrEventManager::releaseSharedManager();
}

} // namespace trigora
