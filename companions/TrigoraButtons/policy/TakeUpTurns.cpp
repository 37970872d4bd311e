#include "companions/TrigoraButtons/policy/TakeUpTurns.h"

#include <algorithm>
#include <utility>

namespace trigora::buttons {

void TakeUpTurns::ask(const void* who, std::function<void()> call) {
    if (current_ == who || std::ranges::find(waiting_, who, &Asker::who) != waiting_.end()) {
        return;
    }
    waiting_.push_back({who, std::move(call)});
    next();
}

void TakeUpTurns::giveBack(const void* who) {
    std::erase_if(waiting_, [&](const Asker& asker) { return asker.who == who; });
    if (current_ == who) {
        current_ = nullptr;
        next();
    }
}

void TakeUpTurns::next() {
    if (current_ == nullptr && !waiting_.empty()) {
        const Asker asker = std::move(waiting_.front());
        waiting_.pop_front();
        current_ = asker.who;
        asker.call();
    }
}

} // namespace trigora::buttons
