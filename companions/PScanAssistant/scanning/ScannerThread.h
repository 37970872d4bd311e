#pragma once

#include "companions/PScanAssistant/scanners/Scanner.h"
#include "companions/PScanAssistant/scanning/ScanProgress.h"
#include "platform/Clock.h"
#include "platform/RunLoop.h"

#include <atomic>
#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>

namespace trigora::companions {

/// What a piece of work on the scanner thread and the main thread tell each other. Any thread.
class ScanControl {
public:
    ScanControl(platform::Clock& clock, double timeLimit);

    /// The work goes on, and something has moved or not; what is wanted of it now.
    ScanWish progress(bool hasMoved = true);
    double secondsWithoutProgress() const;
    /// How long nothing may move, in seconds.
    void setTimeLimit(double seconds) { timeLimit_ = seconds; }
    double timeLimit() const { return timeLimit_; }
    /// Which scanner the work waits for, so that it can be told to stop waiting; null for none.
    void use(Scanner* scanner);
    // Each asks the work to end; it does so when it next tells of progress.
    void cancel() { wish_ = ScanWish::cancel; }
    void giveUp();
    /// Ends a wait for the scanner that does not end by itself. Waits for the scanner's consent, and so does
    /// `use` meanwhile; a scanner gone wrong never gives it.
    void interrupt();

private:
    platform::Clock& clock_;
    std::atomic<double> lastProgress_;
    std::atomic<double> timeLimit_;
    std::atomic<ScanWish> wish_ = ScanWish::goOn;
    std::mutex mutex_;
    Scanner* scanner_ = nullptr; // guarded by mutex_
};

/// Does the work with the scanner, one piece after another, so that the main thread can listen meanwhile.
/// Each piece ends in exactly one of two ways, told on the main thread: it has finished, or it was given up.
/// When nothing has moved for its time limit, the work is asked to stop; it is given up when it still has not
/// come back some seconds later, and what stands in line behind it, too. Used on the main thread.
class ScannerThread {
public:
    struct Work {
        std::function<void(ScanControl&)> perform; ///< on the scanner thread
        std::function<void()> finished;
        std::function<void()> gaveUp;
    };

    /// For work that says nothing else, in seconds; with what such work has to come back it makes 30.
    static constexpr double defaultTimeLimit = 20;

    ScannerThread(platform::RunLoop& loop, platform::Clock& clock);
    ScannerThread(const ScannerThread&) = delete;
    ScannerThread& operator=(const ScannerThread&) = delete;
    /// Waits for the work under way; `end` first where that may not come back.
    ~ScannerThread();

    void perform(Work work);
    /// Asks the work under way to end, which is told as usual.
    void cancelRunning();
    /// Cancels everything; nothing is told any more. False when the work under way does not come back, in
    /// which case this object must not be destroyed.
    bool end();

private:
    struct Task {
        Task(Work given, platform::Clock& clock) : work(std::move(given)), control(clock, defaultTimeLimit) {}
        Work work;
        ScanControl control;
        bool isSettled = false; ///< main thread only
        std::atomic<bool> isBeingInterrupted = false;
    };
    using TaskPointer = std::shared_ptr<Task>;

    void run();
    TaskPointer nextTask();
    void settle(const TaskPointer& task, const std::function<void()>& tell);
    void stopWatching();
    void watch();
    static void interrupt(const TaskPointer& task);
    bool waitUntilIdle(std::chrono::milliseconds time);

    platform::RunLoop& loop_;
    platform::Clock& clock_;
    platform::RunLoop::TimerID watchTimer_ = 0; ///< only while there is work
    std::size_t unsettledCount_ = 0;

    std::mutex mutex_;
    std::condition_variable changed_;
    std::deque<TaskPointer> waiting_; // guarded by mutex_
    TaskPointer running_;             // guarded by mutex_
    bool isEnding_ = false;           // guarded by mutex_
    std::thread thread_;
};

} // namespace trigora::companions
