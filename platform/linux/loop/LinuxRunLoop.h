#pragma once

#include "platform/RunLoop.h"
#include "platform/linux/files/FileDescriptor.h"
#include "platform/linux/loop/SystemdPointers.h"

#include <atomic>
#include <deque>
#include <map>
#include <memory>
#include <mutex>
#include <vector>

namespace trigora::platform {

/// The main thread's loop. It sleeps until something is due and calls one handler per turn: a timer's, a
/// piece of handed-in work, a signal's, or whatever the bus delivers. An exception that leaves a handler
/// is written to the standard error and the loop goes on.
///
/// Made and destroyed on the main thread, before every other thread and after everything attached to it.
class LinuxRunLoop final : public RunLoop {
public:
    LinuxRunLoop();
    ~LinuxRunLoop() override;
    LinuxRunLoop(const LinuxRunLoop&) = delete;
    LinuxRunLoop& operator=(const LinuxRunLoop&) = delete;

    /// Periods are held between one millisecond and a hundred years.
    TimerID addRepeatingTimer(double seconds, std::function<void()> handler) override;
    void cancelTimer(TimerID timer) override;
    void whenProcessExits(std::int32_t processID, std::function<void()> handler) override;
    void performOnMainThread(std::function<void()> work) override;
    /// A `stop` told before `run` counts, so that none is lost; `run` may be called again afterwards.
    int run() override;
    void stop(int exitCode) override;
    bool isEnding() override { return ending_; }

    /// Calls the handler in the loop for each arrival of a signal such as SIGTERM, which from now on is
    /// blocked in this thread and the threads it starts later. Main thread only.
    void onSignal(int signal, std::function<void()> handler);

    /// For attaching further sources, such as a bus connection. Main thread only.
    sd_event* event() const { return event_.get(); }

private:
    struct Timer;
    struct SignalHandler;
    struct ExitHandler;

    static int timerFired(sd_event_source* source, std::uint64_t due, void* timer);
    static int workArrived(sd_event_source* source, int descriptor, std::uint32_t events, void* loop);
    static int signalArrived(sd_event_source* source, const signalfd_siginfo* information, void* handler);

    static int processExited(sd_event_source* source, int descriptor, std::uint32_t events, void* handler);

    void fire(TimerID id);
    void performNext();
    void wake() const;

    EventPointer event_;
    FileDescriptor wakeDescriptor_; // goes after the source that watches it
    EventSourcePointer wakeSource_;
    std::map<TimerID, std::unique_ptr<Timer>> timers_;
    TimerID lastTimer_ = 0;
    std::vector<std::unique_ptr<SignalHandler>> signalHandlers_;
    std::vector<std::unique_ptr<ExitHandler>> exitHandlers_;

    std::mutex mutex_;
    std::deque<std::function<void()>> work_; // guarded by mutex_
    std::atomic<int> exitCode_ = 0;
    std::atomic<bool> stopping_ = false; ///< until `run` has seen it
    std::atomic<bool> ending_ = false;
};

} // namespace trigora::platform
