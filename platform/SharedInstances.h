#pragma once

#include <memory>
#include <mutex>
#include <typeindex>
#include <vector>

namespace trigora::platform {

/// Holds the one instance of each process-wide class. Instances are destroyed in the reverse order of
/// their making. Making one instance may use another. Any thread.
class SharedInstances {
public:
    SharedInstances() = default;
    SharedInstances(const SharedInstances&) = delete;
    SharedInstances& operator=(const SharedInstances&) = delete;
    ~SharedInstances() { removeAll(); }

    template <typename T> std::shared_ptr<T> get() {
        const std::lock_guard lock(mutex_);
        if (std::shared_ptr<void> found = find(typeid(T))) {
            return std::static_pointer_cast<T>(found);
        }
        auto made = std::make_shared<T>();
        entries_.push_back({typeid(T), made});
        return made;
    }

    template <typename T> void release() { take(typeid(T)); }

    void removeAll();

private:
    struct Entry {
        std::type_index type;
        std::shared_ptr<void> instance;
    };

    std::shared_ptr<void> find(std::type_index type) const;
    /// Removes the entry; the instance dies with the result, outside the lock.
    std::shared_ptr<void> take(std::type_index type);

    // Recursive, because an instance may ask for another one while it is being made.
    std::recursive_mutex mutex_;
    std::vector<Entry> entries_;
};

} // namespace trigora::platform
