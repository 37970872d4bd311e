#include "runners/launch/OpeningQueue.h"

#include "agent/log/Guarded.h"
#include "platform/Platform.h"
#include "platform/Workspace.h"

#include <utility>

namespace trigora {

OpeningQueue::OpeningQueue(double secondsAfterEach) : secondsAfterEach_(secondsAfterEach) {}

OpeningQueue::~OpeningQueue() { clear(); }

void OpeningQueue::add(const std::vector<std::string>& paths, const std::string& application) {
    const bool wasEmpty = isEmpty();
    for (const std::string& path : paths) {
        openings_.push_back({path, application});
    }
    if (wasEmpty && timer_ == 0) {
        openSome();
    }
}

void OpeningQueue::clear() {
    openings_.clear();
    turns_.reset();
    platform::current().runLoop.cancelTimer(std::exchange(timer_, 0));
}

void OpeningQueue::openSome() {
    constexpr int atOnce = 16;
    for (int i = 0; i < atOnce && !isEmpty(); ++i) {
        const Opening opening = std::move(openings_.front());
        openings_.pop_front();
        const bool isOpened = platform::current().workspace.openFile(opening.path, opening.application);
        if (isOpened && secondsAfterEach_ > 0) {
            pause();
            return;
        }
    }
    if (!isEmpty()) {
        goOnInNextTurn();
    }
}

void OpeningQueue::goOnInNextTurn() {
    turns_ = std::make_shared<int>();
    platform::current().runLoop.performOnMainThread([this, turn = std::weak_ptr(turns_)] {
        if (!turn.expired()) {
            guarded("-[OpeningQueue openSome]", [this] { openSome(); });
        }
    });
}

void OpeningQueue::pause() {
    timer_ = platform::current().runLoop.addRepeatingTimer(secondsAfterEach_, [this] {
        platform::current().runLoop.cancelTimer(std::exchange(timer_, 0));
        guarded("-[OpeningQueue openSome]", [this] { openSome(); });
    });
}

} // namespace trigora
