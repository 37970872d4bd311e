#pragma once

#include <cstdint>
#include <functional>

namespace trigora::platform {

/// The main thread's loop. Timers, notifications, Apple Events and handed-in work are delivered by it
/// one at a time. Handlers may add and cancel timers, also their own.
class RunLoop {
public:
    using TimerID = std::uint64_t; ///< 0 is never a timer

    virtual ~RunLoop() = default;

    /// Calls the handler every `seconds` (greater than 0), first after one period. A period missed while
    /// the thread was busy is not made up for. Main thread only.
    virtual TimerID addRepeatingTimer(double seconds, std::function<void()> handler) = 0;
    /// Does nothing for a timer that is gone. Main thread only.
    virtual void cancelTimer(TimerID timer) = 0;
    /// Calls the handler once, when the process has exited; soon, when there is no such process (any more).
    /// Main thread only.
    virtual void whenProcessExits(std::int32_t processID, std::function<void()> handler) = 0;
    /// Queues work for the main thread and returns at once. Any thread.
    virtual void performOnMainThread(std::function<void()> work) = 0;
    /// Turns until `stop`; returns the exit code that `stop` was told.
    virtual int run() = 0;
    /// Ends `run` after the handler that is running. Any thread.
    virtual void stop(int exitCode) = 0;
    /// Whether the loop has been told to stop and not been run again. It may be told while the main thread is
    /// in a wait, when the session ends for example: every wait that has no limit of its own asks at least
    /// once a second and then gives up. Any thread.
    virtual bool isEnding() { return false; }
};

} // namespace trigora::platform
