#pragma once

#include <deque>
#include <functional>

namespace trigora::buttons {

/// One scanner is opened at a time: SANE opens the nodes of all others, too, while it looks for the one.
class TakeUpTurns {
public:
    /// The call comes when nobody else has the turn, perhaps at once. `who` tells askers apart.
    void ask(const void* who, std::function<void()> call);
    /// Gives the turn back, or the place in the queue.
    void giveBack(const void* who);
    bool isAnybodysTurn() const { return current_ != nullptr; }

private:
    struct Asker {
        const void* who;
        std::function<void()> call;
    };

    void next();

    const void* current_ = nullptr;
    std::deque<Asker> waiting_;
};

} // namespace trigora::buttons
