// What becomes of a press or a run when the scan assistant does not come up, comes up late, or exits without
// an answer (crashed, killed, or asked to quit just when the next press came).

#include "agent/service/TgaServiceManager.h"

#include "agent/log/PSlog.h"
#include "platform/Clock.h"
#include "platform/Platform.h"
#include "platform/Text.h"
#include "projects/information/TrProjectInformation.h"
#include "projects/manager/TrProjectManager.h"
#include "runners/actions/TgaActionRunner.h"
#include "runners/actions/TgaActionRunnerManager.h"
#include "runners/launch/ConfirmationRequest.h"
#include "runners/launch/TrLaunchApplicationManager.h"

#include <array>
#include <utility>

namespace trigora {

namespace {

/// A scanner that starts by itself long after the press would only surprise.
constexpr double secondsForRepeating = 60;

bool isScanAssistantRunning() {
    return TrLaunchApplicationManager::sharedLaunchApplicationManager()->isLaunchScanAssistant();
}

void requestConfirmation(const Dictionary& event) {
    postConfirmationRequest(platform::textAt(event, "driverName"), platform::textAt(event, "IPAddress"),
                            true);
}

} // namespace

UnansweredRequests::Run TgaServiceManager::currentRun() const {
    using Run = UnansweredRequests::Run;
    if (!TgaActionRunnerManager::sharedActionRunnerManager()->currentActionRunner() &&
        !TrProjectManager::isProjectRunning()) {
        return Run::none;
    }
    return isRunScanning_ ? Run::scans : Run::confirms;
}

void TgaServiceManager::endRunOfDeadScanAssistant() {
    if (currentRun() == UnansweredRequests::Run::none || isScanAssistantRunning()) {
        return;
    }
    PSlog("%s [Line %d] the scan assistant exited while a project ran",
          "-[TgaServiceManager endRunOfDeadScanAssistant]", __LINE__);
    TgaActionRunnerManager::sharedActionRunnerManager()->setCurrentActionRunner(nullptr);
    TrProjectManager::setRunningProjectStatus(false);
    postScanEventDidFinish();
}

void TgaServiceManager::runProject(const std::shared_ptr<TrProjectInformation>& project,
                                   const std::shared_ptr<TrScannerDriverInformation>& driver,
                                   const std::string& eventID, const std::optional<std::string>& address) {
    isRunScanning_ = project->isScanAble();
    const auto assistant = assistantWatch_.watch(); // before it is asked, which may be the end of it
    if (assistant && !isRunScanning_) {
        unanswered_.postedWithoutPress(*assistant, true);
    }
    TrProjectManager::sharedProjectManager()->runProject(project, driver, eventID, address);
}

void TgaServiceManager::askScanAssistant() {
    WaitingPress& waiting = *waitingPress_;
    waiting.assistant = assistantWatch_.watch(); // before it is asked, which may be the end of it
    const bool isHeard = assistantWatch_.isListening();
    if (waiting.assistant) {
        if (waiting.assistant == formerAssistant_) {
            formerAssistant_.reset();
            unanswered_.postedWithoutPress(*waiting.assistant,
                                           false); // perhaps, by the agent before this one
        }
        unanswered_.posted(*waiting.assistant, waiting.press, isHeard);
    }
    requestConfirmation(waiting.press.event);
    assistantWatch_.stopLooking();
    if (!waiting.assistant) {
        assistantWatch_.lookSoon();
    } else if (!isHeard) {
        assistantWatch_.whenListening([this] { askScanAssistantThatCameUpLate(); });
    }
}

void TgaServiceManager::askScanAssistantThatCameUpLate() {
    if (!waitingPress_ || !isCurrent(waitingPress_->press) ||
        assistantWatch_.watch() != waitingPress_->assistant) {
        return;
    }
    const WaitingPress& waiting = *waitingPress_;
    PSlog("%s [Line %d] waited_Double = %.1f", "-[TgaServiceManager askScanAssistantThatCameUpLate]",
          __LINE__, platform::current().clock.monotonicSeconds() - waiting.since);
    unanswered_.posted(*waiting.assistant, waiting.press, true);
    requestConfirmation(waiting.press.event);
}

void TgaServiceManager::scanAssistantHasGone(std::optional<std::int32_t> assistant) {
    if (assistant) {
        unanswered_.forget(*assistant);
    }
    goOnWithWaitingPress();
}

void TgaServiceManager::goOnWithWaitingPress() {
    endRunOfDeadScanAssistant();
    if (waitingPress_ && !isCurrent(waitingPress_->press)) {
        waitingPress_.reset(); // another event has taken its place
    }
    if (!waitingPress_ || currentRun() != UnansweredRequests::Run::none) {
        return;
    }
    const auto running =
        TrLaunchApplicationManager::sharedLaunchApplicationManager()->scanAssistantProcessID();
    if (!running || running != waitingPress_->assistant) {
        repeatWaitingPress();
    }
}

void TgaServiceManager::repeatWaitingPress() {
    WaitingPress& waiting = *waitingPress_;
    const double waited = platform::current().clock.monotonicSeconds() - waiting.since;
    const bool wasRepeated = std::exchange(waiting.isRepeated, true);
    PSlog("%s [Line %d] wasRepeated_BOOL = %d, waited_Double = %.1f",
          "-[TgaServiceManager repeatWaitingPress]", __LINE__, wasRepeated, waited);
    if (wasRepeated) {
        refuseWaitingPress("the scan assistant ended twice before it answered");
    } else if (waited >= secondsForRepeating) {
        refuseWaitingPress("the scan assistant ended before it answered, more than a minute after the press");
    } else if (!TrLaunchApplicationManager::sharedLaunchApplicationManager()->launchScanAssistantWithWait()) {
        refuseWaitingPress("the scan assistant does not start");
    } else {
        askScanAssistant();
    }
}

void TgaServiceManager::refuseWaitingPress(const std::string& reason) {
    const ScanPress press = std::exchange(waitingPress_, std::nullopt)->press;
    const std::array<LogArgument, 2> told{platform::textAt(press.event, "driverName"), reason};
    PSlogv("a press on %@ comes to nothing: %@", told); // on the console, too, when the log is off
    assistantWatch_.stopLooking();
    forgetPress(press);
    postScanEventDidFinish();
}

} // namespace trigora
