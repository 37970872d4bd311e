#pragma once

#include "platform/Platform.h"

#include <memory>

namespace trigora {

class TgaActionRunner;

/// Keeps the runner of the project that is running, from the start of the run until the scanning side has
/// reported back or another run replaces it. Main thread only.
class TgaActionRunnerManager {
public:
    static std::shared_ptr<TgaActionRunnerManager> sharedActionRunnerManager() {
        return platform::shared<TgaActionRunnerManager>();
    }

    /// Null for none.
    void setCurrentActionRunner(std::shared_ptr<TgaActionRunner> runner) {
        actionRunner_Current = std::move(runner);
    }
    /// Null when there is none.
    const std::shared_ptr<TgaActionRunner>& currentActionRunner() const { return actionRunner_Current; }

private:
    std::shared_ptr<TgaActionRunner> actionRunner_Current;
};

} // namespace trigora
