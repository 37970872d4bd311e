#include "companions/TrigoraButtons/policy/DelayedCall.h"

#include <algorithm>
#include <utility>

namespace trigora::buttons {

void DelayedCall::in(double seconds, std::function<void()> call) {
    cancel();
    constexpr double shortest = 0.001;
    timer_ = loop_.addRepeatingTimer(std::max(seconds, shortest), [this, call = std::move(call)] {
        const std::function<void()> now = call; // the timer takes its own copy with it
        cancel();
        now();
    });
}

void DelayedCall::cancel() {
    if (timer_ != 0) {
        loop_.cancelTimer(std::exchange(timer_, 0));
    }
}

} // namespace trigora::buttons
