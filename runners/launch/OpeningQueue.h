#pragma once

#include "platform/RunLoop.h"

#include <cstddef>
#include <deque>
#include <memory>
#include <string>
#include <vector>

namespace trigora {

/// Files on their way to applications, in their order: a few are opened in each turn of the loop, so that a
/// press is heard while thousands are handed over. What cannot be opened is passed over. Main thread only.
class OpeningQueue {
public:
    /// After each file opened, the next waits so long; 0 for no wait.
    explicit OpeningQueue(double secondsAfterEach = 0);
    ~OpeningQueue();
    OpeningQueue(const OpeningQueue&) = delete;
    OpeningQueue& operator=(const OpeningQueue&) = delete;

    /// Behind what waits already.
    void add(const std::vector<std::string>& paths, const std::string& application);
    /// Drops what waits.
    void clear();
    bool isEmpty() const { return openings_.empty(); }

private:
    struct Opening {
        std::string path;
        std::string application;
    };

    void goOnInNextTurn();
    void openSome();
    void pause();

    const double secondsAfterEach_;
    std::deque<Opening> openings_;
    /// Turns that are still to come end with what they are for.
    std::shared_ptr<int> turns_;
    platform::RunLoop::TimerID timer_ = 0; ///< 0 when there is none
};

} // namespace trigora
