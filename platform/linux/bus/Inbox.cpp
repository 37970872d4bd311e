#include "platform/linux/bus/Inbox.h"

#include "platform/Guarded.h"

#include <utility>

namespace trigora::platform {

namespace {

/// More than this is left on the connection.
constexpr std::size_t mostPieces = 1000;

} // namespace

void Inbox::addNotification(Notification notification, std::function<void(const Notification&)> deliver) {
    if (merged_.contains(notification.name) && holdsEqual(notification)) {
        return;
    }
    auto work = [notification, deliver = std::move(deliver)] { deliver(notification); };
    add({std::move(notification), std::move(work)});
}

void Inbox::add(Piece piece) {
    pieces_.push_back(std::move(piece));
    loop_.performOnMainThread([life = std::weak_ptr(life_), this] {
        if (!life.expired()) {
            handleNext();
        }
    });
}

bool Inbox::holdsEqual(const Notification& notification) const {
    for (auto piece = pieces_.rbegin(); piece != pieces_.rend() && piece->notification; ++piece) {
        if (piece->notification->name == notification.name &&
            piece->notification->userInfo == notification.userInfo) {
            return true;
        }
    }
    return false;
}

void Inbox::handleNext() {
    while (!merged_.empty() && pieces_.size() < mostPieces && sd_bus_process(bus_, nullptr) > 0) {
    }
    const Piece piece = std::move(pieces_.front());
    pieces_.pop_front();
    guarded(piece.work);
}

} // namespace trigora::platform
