#include "platform/linux/loop/LinuxRunLoop.h"

#include "platform/Guarded.h"
#include "platform/linux/loop/LinuxClock.h"

#include <sys/epoll.h>
#include <sys/eventfd.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <string>
#include <system_error>

namespace trigora::platform {

namespace {

using Microseconds = std::uint64_t;

constexpr double shortestPeriod = 0.001;
constexpr double longestPeriod = 100.0 * 365 * 24 * 3600;

Microseconds periodOf(double seconds) {
    // Written so that what is not a number means the shortest period.
    const double held = seconds > shortestPeriod ? std::min(seconds, longestPeriod) : shortestPeriod;
    return static_cast<Microseconds>(held * 1e6);
}

/// How late a timer may fire, so that timers that are due at about the same time share one wake-up.
Microseconds accuracyOf(Microseconds period) { return std::clamp<Microseconds>(period / 10, 1000, 250000); }

/// The first moment of the timer's rhythm that is still to come.
Microseconds nextDue(Microseconds due, Microseconds period) {
    const Microseconds now = monotonicMicroseconds();
    return due > now ? due : due + ((now - due) / period + 1) * period;
}

void check(int result, const char* what) {
    if (result < 0) {
        throw std::system_error(-result, std::generic_category(), what);
    }
}

} // namespace

struct LinuxRunLoop::Timer {
    LinuxRunLoop& loop;
    TimerID id;
    Microseconds period;
    Microseconds due;
    // Shared, so that a handler that cancels its own timer lives until it returns.
    std::shared_ptr<const std::function<void()>> handler;
    EventSourcePointer source;
};

struct LinuxRunLoop::SignalHandler {
    std::function<void()> handler;
    EventSourcePointer source;
};

/// Owns the descriptor that stands for the process.
struct LinuxRunLoop::ExitHandler {
    ExitHandler(LinuxRunLoop& itsLoop, FileDescriptor itsDescriptor, std::function<void()> itsHandler)
        : loop(itsLoop), descriptor(std::move(itsDescriptor)), handler(std::move(itsHandler)) {}

    LinuxRunLoop& loop;
    FileDescriptor descriptor;
    std::function<void()> handler;
    EventSourcePointer source; // goes before the descriptor
};

LinuxRunLoop::LinuxRunLoop() : wakeDescriptor_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK | EFD_SEMAPHORE)) {
    check(wakeDescriptor_ ? 0 : -errno, "eventfd");
    sd_event* event = nullptr;
    check(sd_event_new(&event), "sd_event_new");
    event_.reset(event);
    sd_event_source* source = nullptr;
    check(sd_event_add_io(event, &source, wakeDescriptor_.get(), EPOLLIN, workArrived, this),
          "sd_event_add_io");
    wakeSource_.reset(source);
}

LinuxRunLoop::~LinuxRunLoop() = default;

RunLoop::TimerID LinuxRunLoop::addRepeatingTimer(double seconds, std::function<void()> handler) {
    const TimerID id = ++lastTimer_;
    const Microseconds period = periodOf(seconds);
    auto timer = std::make_unique<Timer>(
        Timer{*this, id, period, monotonicMicroseconds() + period,
              std::make_shared<const std::function<void()>>(std::move(handler)), nullptr});
    sd_event_source* source = nullptr;
    check(sd_event_add_time(event_.get(), &source, CLOCK_MONOTONIC, timer->due, accuracyOf(period),
                            timerFired, timer.get()),
          "sd_event_add_time");
    timer->source.reset(source);
    timers_.emplace(id, std::move(timer));
    return id;
}

void LinuxRunLoop::cancelTimer(TimerID timer) { timers_.erase(timer); }

int LinuxRunLoop::timerFired(sd_event_source*, std::uint64_t, void* timer) {
    const auto& fired = *static_cast<Timer*>(timer);
    fired.loop.fire(fired.id);
    return 0;
}

void LinuxRunLoop::fire(TimerID id) {
    const std::shared_ptr<const std::function<void()>> handler = timers_.at(id)->handler;
    guarded(*handler);
    const auto found = timers_.find(id);
    if (found == timers_.end()) {
        return;
    }
    Timer& timer = *found->second;
    timer.due = nextDue(timer.due, timer.period);
    sd_event_source_set_time(timer.source.get(), timer.due);
    sd_event_source_set_enabled(timer.source.get(), SD_EVENT_ONESHOT);
}

void LinuxRunLoop::whenProcessExits(std::int32_t processID, std::function<void()> handler) {
    FileDescriptor descriptor(static_cast<int>(syscall(SYS_pidfd_open, processID, 0)));
    if (!descriptor) {
        performOnMainThread(std::move(handler));
        return;
    }
    auto made = std::make_unique<ExitHandler>(*this, std::move(descriptor), std::move(handler));
    sd_event_source* source = nullptr;
    check(sd_event_add_io(event_.get(), &source, made->descriptor.get(), EPOLLIN, processExited, made.get()),
          "sd_event_add_io");
    made->source.reset(source);
    exitHandlers_.push_back(std::move(made));
}

int LinuxRunLoop::processExited(sd_event_source*, int, std::uint32_t, void* handler) {
    auto& exited = *static_cast<ExitHandler*>(handler);
    const std::function<void()> call = std::move(exited.handler);
    std::erase_if(exited.loop.exitHandlers_, [&](const auto& entry) { return entry.get() == &exited; });
    guarded(call);
    return 0;
}

void LinuxRunLoop::performOnMainThread(std::function<void()> work) {
    {
        const std::lock_guard lock(mutex_);
        work_.push_back(std::move(work));
    }
    wake();
}

void LinuxRunLoop::wake() const {
    // Fails only when as many wake-ups are pending as a 64-bit number holds.
    [[maybe_unused]] const int result = eventfd_write(wakeDescriptor_.get(), 1);
}

int LinuxRunLoop::workArrived(sd_event_source*, int descriptor, std::uint32_t, void* loop) {
    eventfd_t one = 0;
    if (eventfd_read(descriptor, &one) == 0) {
        static_cast<LinuxRunLoop*>(loop)->performNext();
    }
    return 0;
}

void LinuxRunLoop::performNext() {
    std::function<void()> work;
    {
        const std::lock_guard lock(mutex_);
        if (work_.empty()) {
            return;
        }
        work = std::move(work_.front());
        work_.pop_front();
    }
    guarded(work);
}

int LinuxRunLoop::run() {
    ending_ = stopping_.load();
    while (!stopping_) {
        const int result = sd_event_run(event_.get(), UINT64_MAX);
        if (result < 0 && result != -EINTR) {
            reportFailure("the run loop failed: " + std::generic_category().message(-result));
            return EXIT_FAILURE;
        }
    }
    stopping_ = false;
    ending_ = true; // also when it was told to stop just when it began
    return exitCode_;
}

void LinuxRunLoop::stop(int exitCode) {
    exitCode_ = exitCode;
    stopping_ = true;
    ending_ = true;
    wake();
}

void LinuxRunLoop::onSignal(int signal, std::function<void()> handler) {
    auto made = std::make_unique<SignalHandler>(SignalHandler{std::move(handler), nullptr});
    sd_event_source* source = nullptr;
    check(sd_event_add_signal(event_.get(), &source, signal | SD_EVENT_SIGNAL_PROCMASK, signalArrived,
                              made.get()),
          "sd_event_add_signal");
    made->source.reset(source);
    signalHandlers_.push_back(std::move(made));
}

int LinuxRunLoop::signalArrived(sd_event_source*, const signalfd_siginfo*, void* handler) {
    guarded(static_cast<SignalHandler*>(handler)->handler);
    return 0;
}

} // namespace trigora::platform
