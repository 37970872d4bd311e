#include "runners/actions/TgaActionRunnerEPS.h"

#include "files/InstalledPaths.h"
#include "runners/actions/NextAssistant.h"

namespace trigora {

std::int32_t TgaActionRunnerEPS::performAction() {
    endRunningScanAssistant();
    return performActionV4();
}

std::int32_t TgaActionRunnerEPS::performActionV4() const {
    launchForScanner(paths::photoApplication(), scanAssistantData().value_or(Dictionary()));
    return 0;
}

} // namespace trigora
