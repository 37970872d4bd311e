#pragma once

#include "platform/RunLoop.h"
#include "platform/linux/files/FileDescriptor.h"

#include <chrono>
#include <functional>
#include <thread>

namespace trigora::platform {

/// Sees that the program has to end, also while its main thread is in a wait: at SIGTERM and SIGINT, and when
/// the other end of a connection has gone. It then stops the loop, so that waits see that the program is
/// ending; and when the program has not ended in order within the time, it ends by force.
///
/// Made on the main thread before there are other threads, within the life of the loop: the signals are
/// blocked from then on. A thread of its own sleeps until one of these things happens.
class EndWatch {
public:
    /// The connection's descriptor stays the caller's; -1 for none. `endByForce` is called in the watch's own
    /// thread.
    EndWatch(RunLoop& loop, int connection, std::chrono::milliseconds time, std::function<void()> endByForce);
    EndWatch(const EndWatch&) = delete;
    EndWatch& operator=(const EndWatch&) = delete;
    /// The program has ended in order.
    ~EndWatch();

private:
    void watch();

    RunLoop& loop_;
    const std::chrono::milliseconds time_;
    const std::function<void()> endByForce_;
    FileDescriptor signals_;
    FileDescriptor connection_;
    FileDescriptor ended_;
    std::thread thread_;
};

} // namespace trigora::platform
