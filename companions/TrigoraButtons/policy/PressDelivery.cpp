#include "companions/TrigoraButtons/policy/PressDelivery.h"

#include "agent/event/ScanEventRecord.h"
#include "files/NotificationNames.h"
#include "platform/Clock.h"
#include "platform/Platform.h"

#include <utility>

namespace trigora::buttons {

namespace {

double now() { return platform::current().clock.monotonicSeconds(); }

bool isAgentPresent() { return platform::current().appleEvents.isPresent(platform::AgentTarget{}); }

platform::AppleEvent eventOf(const KeptPress& press) {
    return scanButtonEvent({.initiator = 0,
                            .modelName = press.scanner.modelName,
                            .driverName = press.scanner.driverName,
                            .eventStatus = press.press.button});
}

} // namespace

PressDelivery::PressDelivery(Surroundings surroundings)
    : surroundings_(std::move(surroundings)), limit_(platform::current().runLoop),
      oldest_(platform::current().runLoop) {
    // What the agent begins without us, it must not be disturbed in either.
    const auto begun = [this] {
        if (state_ == State::idle) {
            begin("");
        }
        isAgentBusy_ = true;
    };
    observe(notifications::replyScannerConfirmation, begun);
    observe(notifications::replyScan, begun);
    observe(notifications::scanEventDidFinish, [this] {
        isAgentBusy_ = false;
        if (state_ == State::running) {
            finish();
        }
    });
}

PressDelivery::~PressDelivery() {
    for (const auto observer : observers_) {
        platform::current().notifications.removeObserver(observer);
    }
}

void PressDelivery::add(KeptPress press) {
    if (kept_.size() >= mostKept) {
        surroundings_.dropped(press, Loss::tooMany);
        return;
    }
    kept_.push_back(std::move(press));
    deliverNext();
}

void PressDelivery::agentChanged(bool isPresent) {
    if (!isPresent && state_ == State::running) {
        finish(); // what it had goes with it
    } else if (isPresent) {
        deliverNext();
    }
}

void PressDelivery::observe(const char* name, std::function<void()> handler) {
    observers_.push_back(platform::current().notifications.observe(
        name, [handler = std::move(handler)](const platform::Notification&) { handler(); }));
}

void PressDelivery::deliverNext() {
    dropOldPresses();
    if (state_ == State::idle && !kept_.empty() && isAgentPresent()) {
        state_ = State::freeing;
        surroundings_.stayAway(kept_.front().device, [this] { send(); });
    }
}

void PressDelivery::send() {
    if (state_ != State::freeing || kept_.empty()) {
        return;
    }
    const std::string device = kept_.front().device;
    const bool isBusyMeanwhile = isAgentBusy_;
    if (isBusyMeanwhile || platform::current().appleEvents.sendWithoutReply(platform::AgentTarget{},
                                                                            eventOf(kept_.front())) != 0) {
        // It has begun something else or gone at this very moment. The press waits.
        state_ = State::idle;
        surroundings_.comeBack(device);
        if (isBusyMeanwhile) {
            begin("");
        } else {
            dropOldPresses();
        }
        return;
    }
    kept_.pop_front();
    begin(device);
}

void PressDelivery::begin(std::string device) {
    state_ = State::running;
    device_ = std::move(device);
    limit_.in(timeLimit, [this] { checkLimit(); });
    dropOldPresses();
}

void PressDelivery::finish() {
    state_ = State::idle;
    isAgentBusy_ = false;
    limit_.cancel();
    if (!device_.empty()) {
        surroundings_.comeBack(std::exchange(device_, ""));
    }
    deliverNext();
}

/// A long scan still has the scanner open.
void PressDelivery::checkLimit() {
    if (!device_.empty() && surroundings_.isUsedByOthers(device_)) {
        limit_.in(longerLimit, [this] { checkLimit(); });
    } else {
        finish();
    }
}

/// Those that wait, not the one for which a scanner is being freed. Sees to it that it comes again in time.
void PressDelivery::dropOldPresses() {
    oldest_.cancel();
    if (state_ == State::freeing) {
        return; // soon over
    }
    while (!kept_.empty() && now() - kept_.front().made >= longestWait) {
        const KeptPress press = std::move(kept_.front());
        kept_.pop_front();
        surroundings_.dropped(press, isAgentPresent() ? Loss::agentBusy : Loss::agentMissing);
    }
    if (!kept_.empty()) {
        oldest_.in(kept_.front().made + longestWait - now(), [this] { dropOldPresses(); });
    }
}

} // namespace trigora::buttons
