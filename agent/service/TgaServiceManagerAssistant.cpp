// What becomes of a press or a run when the scan assistant exits without an answer (crashed, killed, or asked
// to quit just when the next press came), and of a press that it came up too late to hear of.

#include "agent/service/TgaServiceManager.h"

#include "agent/log/Guarded.h"
#include "agent/log/PSlog.h"
#include "platform/AppleEvents.h"
#include "platform/Clock.h"
#include "platform/Platform.h"
#include "projects/manager/TrProjectManager.h"
#include "runners/actions/TgaActionRunner.h"
#include "runners/actions/TgaActionRunnerManager.h"
#include "runners/launch/TrLaunchApplicationManager.h"

#include <utility>

namespace trigora {

namespace {

/// What the assistant said last may still be on its way when its exit is seen.
constexpr double secondsForLastWords = 0.25;

/// A scanner that starts by itself long after the press would only surprise.
constexpr double secondsForRepeating = 60;
constexpr double secondsBetweenLooks = 0.25;

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
    listeningScanAssistant_.reset();
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
    if ((!runnerManager->currentActionRunner() && !TrProjectManager::isProjectRunning()) ||
        isScanAssistantRunning()) {
        return;
    }
    PSlog("%s [Line %d] the scan assistant exited while a project ran",
          "-[TgaServiceManager endRunOfDeadScanAssistant]", __LINE__);
    runnerManager->setCurrentActionRunner(nullptr);
    TrProjectManager::setRunningProjectStatus(false);
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
        askScanAssistant();
    } else {
        endWaitingPress();
    }
}

void TgaServiceManager::endWaitingPress() {
    forgetCurrentEvent(waitingPress_->event);
    waitingPress_.reset();
    postScanEventDidFinish();
}

void TgaServiceManager::askScanAssistant() {
    watchScanAssistant(); // before it is asked, which may be the end of it
    const bool isHeard = isScanAssistantListening();
    requestConfirmation(waitingPress_->event);
    stopWaitingForScanAssistant();
    if (!isHeard) {
        listeningTimer_ = platform::current().runLoop.addRepeatingTimer(secondsBetweenLooks, [this] {
            guarded("-[TgaServiceManager lookForScanAssistant]", [this] { lookForScanAssistant(); });
        });
    }
}

bool TgaServiceManager::isScanAssistantListening() {
    const auto processID =
        TrLaunchApplicationManager::sharedLaunchApplicationManager()->scanAssistantProcessID();
    if (processID && processID != listeningScanAssistant_ &&
        platform::current().appleEvents.isPresent(platform::ProcessTarget{*processID})) {
        listeningScanAssistant_ = processID;
    }
    return processID && processID == listeningScanAssistant_;
}

void TgaServiceManager::lookForScanAssistant() {
    constexpr const char* name = "-[TgaServiceManager lookForScanAssistant]";
    if (!waitingPress_ || waitingPress_->event != currentEvent()) {
        stopWaitingForScanAssistant();
        return;
    }
    watchScanAssistant();
    const double waited = platform::current().clock.monotonicSeconds() - waitingPress_->since;
    if (isScanAssistantListening()) {
        PSlog("%s [Line %d] the scan assistant came up late, waited_Double = %.1f", name, __LINE__, waited);
        stopWaitingForScanAssistant();
        requestConfirmation(waitingPress_->event);
    } else if (waited >= secondsForRepeating) {
        stopWaitingForScanAssistant(); // one that does not take a name on the bus may still answer
        if (!isScanAssistantRunning()) {
            PSlog("%s [Line %d] the scan assistant did not come up", name, __LINE__);
            endWaitingPress();
        }
    }
}

void TgaServiceManager::stopWaitingForScanAssistant() {
    platform::current().runLoop.cancelTimer(std::exchange(listeningTimer_, 0));
}

} // namespace trigora
