#pragma once

#include "platform/RunLoop.h"

#include <functional>

namespace trigora::buttons {

/// One call, some time from now. Asking for another one drops the first.
class DelayedCall {
public:
    explicit DelayedCall(platform::RunLoop& loop) : loop_(loop) {}
    DelayedCall(const DelayedCall&) = delete;
    DelayedCall& operator=(const DelayedCall&) = delete;
    ~DelayedCall() { cancel(); }

    void in(double seconds, std::function<void()> call);
    void cancel();
    bool isDue() const { return timer_ != 0; }

private:
    platform::RunLoop& loop_;
    platform::RunLoop::TimerID timer_ = 0;
};

} // namespace trigora::buttons
