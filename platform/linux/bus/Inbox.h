#pragma once

#include "platform/DistributedNotifications.h"
#include "platform/RunLoop.h"
#include "platform/linux/loop/SystemdPointers.h"

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <set>
#include <string>
#include <utility>

namespace trigora::platform {

/// What has arrived on the main connection and waits to be handled, one piece in each turn of the loop, in
/// the order of its arrival. Main thread only.
class Inbox {
public:
    Inbox(RunLoop& loop, sd_bus* bus) : loop_(loop), bus_(bus) {}
    Inbox(const Inbox&) = delete;
    Inbox& operator=(const Inbox&) = delete;
    ~Inbox() = default;

    /// From now on the connection is emptied into the inbox before each piece, so that what came while the
    /// main thread was busy waits here; and of equal notifications with these names that wait without an
    /// event between them only the first is handled. For a program whose handlers take long.
    void mergeEqual(std::set<std::string> names) { merged_ = std::move(names); }

    void add(std::function<void()> work) { add({std::nullopt, std::move(work)}); }
    void addNotification(Notification notification, std::function<void(const Notification&)> deliver);

private:
    struct Piece {
        std::optional<Notification> notification;
        std::function<void()> work;
    };

    void add(Piece piece);
    bool holdsEqual(const Notification& notification) const;
    void handleNext();

    RunLoop& loop_;
    sd_bus* const bus_;
    std::set<std::string> merged_;                              ///< names of the notifications
    std::deque<Piece> pieces_;                                  ///< for each there is work in the loop
    const std::shared_ptr<int> life_ = std::make_shared<int>(); ///< which ends with it
};

} // namespace trigora::platform
