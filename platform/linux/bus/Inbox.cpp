#include "platform/linux/bus/Inbox.h"

#include "platform/Guarded.h"

#include <utility>

namespace trigora::platform {

namespace {

/// More than this is left on the connection.
constexpr std::size_t mostPieces = 1000;

} // namespace

Inbox::Inbox(sd_event* event, sd_bus* bus) : bus_(bus) {
    sd_event_source* source = nullptr;
    sd_event_add_defer(event, &source, turned, this);
    source_.reset(source);
    sd_event_source_set_enabled(source, SD_EVENT_OFF);
}

void Inbox::addNotification(Notification notification, std::function<void(const Notification&)> deliver) {
    if (merged_.contains(notification.name) && holdsEqual(notification)) {
        return;
    }
    auto work = [notification, deliver = std::move(deliver)] { deliver(notification); };
    add({std::move(notification), std::move(work)});
}

void Inbox::add(Piece piece) {
    pieces_.push_back(std::move(piece));
    sd_event_source_set_enabled(source_.get(), SD_EVENT_ON);
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

int Inbox::turned(sd_event_source*, void* inbox) {
    auto& self = *static_cast<Inbox*>(inbox);
    while (!self.merged_.empty() && self.pieces_.size() < mostPieces &&
           sd_bus_process(self.bus_, nullptr) > 0) {
    }
    self.handleNext();
    return 0;
}

void Inbox::handleNext() {
    const Piece piece = std::move(pieces_.front());
    pieces_.pop_front();
    if (pieces_.empty()) {
        sd_event_source_set_enabled(source_.get(), SD_EVENT_OFF);
    }
    guarded(piece.work);
}

} // namespace trigora::platform
