#include "agent/service/ScanAssistantWatch.h"

#include "agent/log/Guarded.h"
#include "platform/AppleEvents.h"
#include "platform/Clock.h"
#include "platform/Platform.h"
#include "runners/launch/TrLaunchApplicationManager.h"

#include <utility>

namespace trigora {

namespace {

/// What the assistant said last may still be on its way when its exit is seen.
constexpr double secondsForLastWords = 0.25;
constexpr double secondsBetweenLooks = 0.25;
constexpr double secondsForName = 60;

std::optional<std::int32_t> runningAssistant() {
    return TrLaunchApplicationManager::sharedLaunchApplicationManager()->scanAssistantProcessID();
}

} // namespace

ScanAssistantWatch::ScanAssistantWatch(Gone gone)
    : gone_(std::move(gone)), self_(std::make_shared<ScanAssistantWatch*>(this)) {}

ScanAssistantWatch::~ScanAssistantWatch() {
    platform::current().runLoop.cancelTimer(lastWordsTimer_);
    stopLooking();
}

std::optional<std::int32_t> ScanAssistantWatch::watch() {
    const std::optional<std::int32_t> assistant = runningAssistant();
    if (assistant && assistant != watched_) {
        watched_ = assistant;
        platform::current().runLoop.whenProcessExits(*assistant, [assistant, self = std::weak_ptr(self_)] {
            if (const auto alive = self.lock()) {
                guarded("-[ScanAssistantWatch exited]", [&] { (*alive)->exited(assistant); });
            }
        });
    }
    return assistant;
}

void ScanAssistantWatch::lookSoon() { exited(std::nullopt); }

void ScanAssistantWatch::exited(std::optional<std::int32_t> assistant) {
    for (auto* known : {&watched_, &listening_}) {
        if (assistant && *known == assistant) {
            known->reset(); // the number may be another process's next time
        }
    }
    exited_.push_back(assistant);
    if (lastWordsTimer_ != 0) {
        return;
    }
    lastWordsTimer_ = platform::current().runLoop.addRepeatingTimer(secondsForLastWords, [this] {
        platform::current().runLoop.cancelTimer(std::exchange(lastWordsTimer_, 0));
        for (const auto gone : std::exchange(exited_, {})) {
            guarded("-[ScanAssistantWatch gone]", [&] { gone_(gone); });
        }
    });
}

bool ScanAssistantWatch::isListening() {
    const std::optional<std::int32_t> assistant = runningAssistant();
    if (assistant && assistant != listening_ &&
        platform::current().appleEvents.isPresent(platform::ProcessTarget{*assistant})) {
        listening_ = assistant;
    }
    return assistant && assistant == listening_;
}

void ScanAssistantWatch::whenListening(std::function<void()> listens) {
    stopLooking();
    listens_ = std::move(listens);
    const double until = platform::current().clock.monotonicSeconds() + secondsForName;
    lookingTimer_ = platform::current().runLoop.addRepeatingTimer(secondsBetweenLooks, [this, until] {
        guarded("-[ScanAssistantWatch lookForName]", [&] { lookForName(until); });
    });
}

void ScanAssistantWatch::lookForName(double until) {
    if (isListening()) {
        const std::function<void()> listens = std::exchange(listens_, nullptr);
        stopLooking();
        listens();
    } else if (platform::current().clock.monotonicSeconds() >= until) {
        stopLooking();
    }
}

void ScanAssistantWatch::stopLooking() {
    platform::current().runLoop.cancelTimer(std::exchange(lookingTimer_, 0));
}

} // namespace trigora
