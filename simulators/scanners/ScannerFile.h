#pragma once

#include "simulators/scanners/ScannerState.h"

#include <chrono>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace trigora::simulators {

/// A scanner's state, mapped from its file and guarded by a lock that the death of a process sets free.
class ScannerFile {
public:
    /// Null when there is no such file or it is none.
    static std::shared_ptr<ScannerFile> open(const std::string& path);
    /// Null when it cannot be made. Nobody sees the file before it is complete.
    static std::shared_ptr<ScannerFile> create(const std::string& path, const ScannerState& state);
    /// All of the folder, in the order of their names.
    static std::vector<std::shared_ptr<ScannerFile>> allIn(const std::string& folder);

    ScannerFile(const ScannerFile&) = delete;
    ScannerFile& operator=(const ScannerFile&) = delete;
    ~ScannerFile();

    /// Runs the function on the state, alone. It must not call this again, wait or throw.
    template <typename Function> auto with(Function function) {
        const Lock lock(state_->mutex);
        return function(*state_);
    }

private:
    class Lock {
    public:
        explicit Lock(pthread_mutex_t& mutex);
        Lock(const Lock&) = delete;
        Lock& operator=(const Lock&) = delete;
        ~Lock();

    private:
        pthread_mutex_t& mutex_;
    };

    explicit ScannerFile(ScannerState* state) : state_(state) {}

    ScannerState* const state_;
};

/// Now, as the times of a scanner's state count.
inline std::int64_t nowInNanoseconds() {
    return std::chrono::steady_clock::now().time_since_epoch() / std::chrono::nanoseconds(1);
}

/// Cut where the field ends.
template <std::size_t size> void putText(std::array<char, size>& field, std::string_view text) {
    field.fill('\0');
    text.copy(field.data(), size - 1);
}

} // namespace trigora::simulators
