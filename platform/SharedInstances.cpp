#include "platform/SharedInstances.h"

#include <algorithm>

namespace trigora::platform {

void SharedInstances::removeAll() {
    for (;;) {
        std::shared_ptr<void> last;
        const std::lock_guard lock(mutex_);
        if (entries_.empty()) {
            return;
        }
        last = std::move(entries_.back().instance);
        entries_.pop_back();
    }
}

std::shared_ptr<void> SharedInstances::find(std::type_index type) const {
    const auto entry =
        std::find_if(entries_.begin(), entries_.end(), [&](const Entry& e) { return e.type == type; });
    return entry == entries_.end() ? nullptr : entry->instance;
}

std::shared_ptr<void> SharedInstances::take(std::type_index type) {
    const std::lock_guard lock(mutex_);
    const auto entry =
        std::find_if(entries_.begin(), entries_.end(), [&](const Entry& e) { return e.type == type; });
    if (entry == entries_.end()) {
        return nullptr;
    }
    std::shared_ptr<void> instance = std::move(entry->instance);
    entries_.erase(entry);
    return instance;
}

} // namespace trigora::platform
