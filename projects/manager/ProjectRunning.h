#pragma once

#include <mutex>

namespace trigora {

/// Whether a project is running; only one may at a time. It is process-wide and a shared instance of its
/// own, so that it outlives a project manager that is dropped to read the projects afresh. Any thread.
class ProjectRunning {
public:
    /// Takes the flag; false when a project is running already.
    bool begin() {
        const std::lock_guard lock(mutex_);
        const bool wasRunning = isRunning_;
        isRunning_ = true;
        return !wasRunning;
    }
    void set(bool isRunning) {
        const std::lock_guard lock(mutex_);
        isRunning_ = isRunning;
    }
    bool isRunning() const {
        const std::lock_guard lock(mutex_);
        return isRunning_;
    }

private:
    mutable std::mutex mutex_;
    bool isRunning_ = false;
};

} // namespace trigora
