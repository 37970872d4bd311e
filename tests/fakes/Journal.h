#pragma once

#include <mutex>
#include <string>
#include <utility>
#include <vector>

namespace trigora::test {

/// What went out of the system, in order, one line per action. Most tests act and then compare it.
///
///     post NAME {user information}             a notification, "post! …" with immediate delivery
///     launch PATH ARGUMENT…                     a process
///     launch application PATH                   through the workspace
///     open PATH with APPLICATION
///     send CLASS/ID to TARGET KEY:TYPE:HEX…     an Apple Event
///     alert TITLE | MESSAGE | BUTTON
///     wait PROCESS
class Journal {
public:
    void add(std::string line) {
        const std::lock_guard lock(mutex_);
        lines_.push_back(std::move(line));
    }
    /// The lines so far, which are then forgotten.
    std::vector<std::string> take() {
        const std::lock_guard lock(mutex_);
        return std::exchange(lines_, {});
    }

private:
    std::mutex mutex_;
    std::vector<std::string> lines_;
};

using Lines = std::vector<std::string>;

} // namespace trigora::test
