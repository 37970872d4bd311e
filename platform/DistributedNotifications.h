#pragma once

#include "platform/Value.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace trigora::platform {

struct Notification {
    std::string name;
    std::optional<Dictionary> userInfo;
};

/// Named messages that every process of the user's session can hear. There is no sender to match and no
/// answer. A process hears its own posts, too.
class DistributedNotifications {
public:
    using Handler = std::function<void(const Notification&)>;
    using ObserverID = std::uint64_t; ///< 0 is never an observer

    virtual ~DistributedNotifications() = default;

    /// The handler runs on the main thread, never inside `post`, in the order in which notifications were
    /// posted; several observers of one name are called in the order in which they were added. Main
    /// thread only.
    virtual ObserverID observe(std::string name, Handler handler) = 0;
    virtual void removeObserver(ObserverID observer) = 0;
    /// Delivers to all who observe the name now. It does not need the loop to turn: a post made during a
    /// wait goes out at once. Any thread.
    virtual void post(const std::string& name, const std::optional<Dictionary>& userInfo,
                      bool deliverImmediately) = 0;
};

} // namespace trigora::platform
