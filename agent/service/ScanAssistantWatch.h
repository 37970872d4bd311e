#pragma once

#include "platform/RunLoop.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace trigora {

/// Watches over the process of the scan assistant: when it exits, and when it has come up so far that it
/// hears what is posted, which it shows by the name that it takes on the bus. Main thread only.
class ScanAssistantWatch {
public:
    /// The function is told which assistant has gone (none when there was none to begin with), a moment
    /// afterwards: what it said last has been heard by then.
    using Gone = std::function<void(std::optional<std::int32_t> assistant)>;

    explicit ScanAssistantWatch(Gone gone);
    ~ScanAssistantWatch();
    ScanAssistantWatch(const ScanAssistantWatch&) = delete;
    ScanAssistantWatch& operator=(const ScanAssistantWatch&) = delete;

    /// The process ID of the assistant that runs, whose exit is told from now on; none when there is none.
    std::optional<std::int32_t> watch();
    /// As if an assistant that never ran had gone.
    void lookSoon();

    /// Whether the one that runs listens.
    bool isListening();
    /// Calls the function, once, when an assistant runs and listens. Looks for a minute: one that has not
    /// taken its name by then has none. It replaces an earlier function.
    void whenListening(std::function<void()> listens);
    void stopLooking();

private:
    void exited(std::optional<std::int32_t> assistant);
    void lookForName(double until);

    Gone gone_;
    std::optional<std::int32_t> watched_;
    std::optional<std::int32_t> listening_; ///< one that has been seen to listen
    std::vector<std::optional<std::int32_t>> exited_;
    platform::RunLoop::TimerID lastWordsTimer_ = 0; ///< 0 when there is none
    platform::RunLoop::TimerID lookingTimer_ = 0;   ///< 0 when there is none
    std::function<void()> listens_;
    /// For the run loop's handlers, which cannot be cancelled: they may come when the watch is over.
    std::shared_ptr<ScanAssistantWatch*> self_;
};

} // namespace trigora
