#include "companions/PScanAssistant/scanning/ScannerThread.h"

#include "platform/Guarded.h"

#include <chrono>
#include <utility>

namespace trigora::companions {

namespace {

constexpr double secondsBetweenLooks = 1;
// How long work that has been stopped may take to keep what there is.
constexpr double secondsToComeBack = 10;
// How long the work may take to notice that it is cancelled, and then that its scanner was stopped.
constexpr std::chrono::milliseconds timeToNotice{500};
constexpr std::chrono::milliseconds timeToStop{3000};

} // namespace

ScanControl::ScanControl(platform::Clock& clock, double timeLimit)
    : clock_(clock), lastProgress_(clock.monotonicSeconds()), timeLimit_(timeLimit) {}

ScanWish ScanControl::progress(bool hasMoved) {
    if (hasMoved) {
        lastProgress_ = clock_.monotonicSeconds();
    }
    return wish_;
}

double ScanControl::secondsWithoutProgress() const { return clock_.monotonicSeconds() - lastProgress_; }

void ScanControl::use(Scanner* scanner) {
    const std::lock_guard lock(mutex_);
    scanner_ = scanner;
}

void ScanControl::giveUp() {
    ScanWish expected = ScanWish::goOn;
    wish_.compare_exchange_strong(expected, ScanWish::stop);
}

void ScanControl::interrupt() {
    const std::lock_guard lock(mutex_);
    if (scanner_ != nullptr) {
        scanner_->cancel();
    }
}

ScannerThread::ScannerThread(platform::RunLoop& loop, platform::Clock& clock)
    : loop_(loop), clock_(clock), thread_([this] { run(); }) {}

ScannerThread::~ScannerThread() {
    stopWatching();
    {
        const std::lock_guard lock(mutex_);
        isEnding_ = true;
        waiting_.clear();
    }
    changed_.notify_all();
    thread_.join();
}

void ScannerThread::perform(Work work) {
    auto task = std::make_shared<Task>(std::move(work), clock_);
    ++unsettledCount_;
    if (watchTimer_ == 0) {
        watchTimer_ = loop_.addRepeatingTimer(secondsBetweenLooks, [this] { watch(); });
    }
    {
        const std::lock_guard lock(mutex_);
        waiting_.push_back(std::move(task));
    }
    changed_.notify_all();
}

void ScannerThread::cancelRunning() {
    TaskPointer running;
    {
        const std::lock_guard lock(mutex_);
        running = running_;
    }
    if (running && !running->isSettled) {
        running->control.cancel();
        interrupt(running);
    }
}

bool ScannerThread::end() {
    TaskPointer running;
    {
        const std::lock_guard lock(mutex_);
        isEnding_ = true;
        waiting_.clear();
        running = running_;
    }
    changed_.notify_all();
    if (!running) {
        return true;
    }
    running->isSettled = true;
    running->control.cancel();
    if (waitUntilIdle(timeToNotice)) {
        return true;
    }
    interrupt(running);
    return waitUntilIdle(timeToStop);
}

bool ScannerThread::waitUntilIdle(std::chrono::milliseconds time) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, time, [this] { return running_ == nullptr; });
}

ScannerThread::TaskPointer ScannerThread::nextTask() {
    std::unique_lock lock(mutex_);
    running_ = nullptr;
    changed_.notify_all();
    changed_.wait(lock, [this] { return isEnding_ || !waiting_.empty(); });
    if (isEnding_) {
        return nullptr;
    }
    running_ = waiting_.front();
    waiting_.pop_front();
    running_->control.progress();
    return running_;
}

void ScannerThread::run() {
    while (const TaskPointer task = nextTask()) {
        platform::guarded([&] { task->work.perform(task->control); });
        loop_.performOnMainThread([this, task] { settle(task, task->work.finished); });
    }
}

void ScannerThread::settle(const TaskPointer& task, const std::function<void()>& tell) {
    if (std::exchange(task->isSettled, true)) {
        return;
    }
    if (--unsettledCount_ == 0) {
        stopWatching();
    }
    tell();
}

/// An idle program is not to wake up.
void ScannerThread::stopWatching() { loop_.cancelTimer(std::exchange(watchTimer_, 0)); }

/// On a thread that nobody waits for: the main thread must stay able to end the program.
void ScannerThread::interrupt(const TaskPointer& task) {
    if (task->isBeingInterrupted.exchange(true)) {
        return;
    }
    const bool isOnItsWay = platform::guarded([&task] {
        std::thread([task] {
            platform::guarded([&task] { task->control.interrupt(); });
            task->isBeingInterrupted = false;
        }).detach();
    });
    if (!isOnItsWay) {
        task->isBeingInterrupted = false;
    }
}

void ScannerThread::watch() {
    TaskPointer running;
    std::deque<TaskPointer> waiting;
    bool isGivenUp = false;
    {
        const std::lock_guard lock(mutex_);
        running = running_;
        const double seconds = running ? running->control.secondsWithoutProgress() : 0;
        if (!running || seconds < running->control.timeLimit()) {
            return;
        }
        if (seconds >= running->control.timeLimit() + secondsToComeBack) {
            waiting.swap(waiting_);
            isGivenUp = true;
        }
    }
    running->control.giveUp();
    interrupt(running);
    if (!isGivenUp) {
        return;
    }
    settle(running, running->work.gaveUp);
    for (const TaskPointer& task : waiting) {
        settle(task, task->work.gaveUp);
    }
}

} // namespace trigora::companions
