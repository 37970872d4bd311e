// What becomes of a press or a run when the scan assistant exits without an answer: crashed, killed, or asked
// to quit just when the next press came.

#include "agent/TgaServiceManager.h"

#include "agent/Guarded.h"
#include "agent/PSlog.h"
#include "platform/Clock.h"
#include "platform/Platform.h"
#include "projects/TrProjectManager.h"
#include "runners/TgaActionRunner.h"
#include "runners/TgaActionRunnerManager.h"
#include "runners/TrLaunchApplicationManager.h"

namespace trigora {

namespace {

/// What the assistant said last may still be on its way when its exit is seen.
constexpr double secondsForLastWords = 0.25;

/// A scanner that starts by itself long after the press would only surprise.
constexpr double secondsForRepeating = 60;

bool isScanAssistantRunning() {
    return TrLaunchApplicationManager::sharedLaunchApplicationManager()->isLaunchScanAssistant();
}

} // namespace

void TgaServiceManager::watchScanAssistant() {
    const auto processID =
        TrLaunchApplicationManager::sharedLaunchApplicationManager()->scanAssistantProcessID();
    if (!processID || processID == watchedScanAssistant_) {
        return;
    }
    watchedScanAssistant_ = processID;
    platform::current().runLoop.whenProcessExits(*processID, [] {
        guarded("-[TgaServiceManager scanAssistantDidExit]",
                [] { TgaServiceManager::sharedServiceManager()->scanAssistantDidExit(); });
    });
}

void TgaServiceManager::scanAssistantDidExit() {
    watchedScanAssistant_.reset();
    if (tidyUpTimer_ != 0) {
        return;
    }
    tidyUpTimer_ = platform::current().runLoop.addRepeatingTimer(secondsForLastWords, [this] {
        platform::current().runLoop.cancelTimer(tidyUpTimer_);
        tidyUpTimer_ = 0;
        guarded("-[TgaServiceManager tidyUpAfterScanAssistant]", [this] { tidyUpAfterScanAssistant(); });
    });
}

void TgaServiceManager::tidyUpAfterScanAssistant() {
    endRunOfDeadScanAssistant();
    if (waitingPress_ && waitingPress_->event != currentEvent()) {
        waitingPress_.reset(); // another event has taken its place
    }
    if (waitingPress_ && !isScanAssistantRunning()) {
        repeatRequestForConfirmation(*waitingPress_);
    }
}

void TgaServiceManager::endRunOfDeadScanAssistant() {
    const auto runnerManager = TgaActionRunnerManager::sharedActionRunnerManager();
    const auto projectManager = TrProjectManager::sharedProjectManager();
    if ((!runnerManager->currentActionRunner() && !projectManager->isProjectRunning()) ||
        isScanAssistantRunning()) {
        return;
    }
    PSlog("%s [Line %d] the scan assistant exited while a project ran",
          "-[TgaServiceManager endRunOfDeadScanAssistant]", __LINE__);
    runnerManager->setCurrentActionRunner(nullptr);
    projectManager->setRunningProjectStatus(false);
    postScanEventDidFinish();
}

void TgaServiceManager::repeatRequestForConfirmation(WaitingPress& press) {
    constexpr const char* name = "-[TgaServiceManager repeatRequestForConfirmation]";
    const double waited = platform::current().clock.monotonicSeconds() - press.since;
    const bool isRepeated =
        !press.isRepeated && waited < secondsForRepeating &&
        TrLaunchApplicationManager::sharedLaunchApplicationManager()->launchScanAssistantWithWait();
    press.isRepeated = true;
    PSlog("%s [Line %d] the scan assistant exited before it confirmed the scanner, isRepeated_BOOL = %d",
          name, __LINE__, isRepeated);
    if (isRepeated) {
        watchScanAssistant();
        requestConfirmation(press.event);
        return;
    }
    forgetCurrentEvent(press.event);
    waitingPress_.reset();
    postScanEventDidFinish();
}

} // namespace trigora
