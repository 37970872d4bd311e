#include "platform/Bundles.h"

#include "platform/Platform.h"
#include "platform/Text.h"

namespace trigora::platform {

std::string mainBundleIdentifier() {
    const std::shared_ptr<Bundle> bundle = current().bundles.mainBundle();
    if (!bundle) {
        return "TrigoraAgent";
    }
    return textAt(bundle->infoDictionary(), "CFBundleIdentifier").value_or(lastPathComponent(bundle->path()));
}

} // namespace trigora::platform
