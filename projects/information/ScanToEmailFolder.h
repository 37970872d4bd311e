#pragma once

#include <mutex>
#include <string>

namespace trigora {

/// The folder that the pages of a scan to e-mail go through. Whoever reads the project begins it anew; but
/// once a scan has been asked to put pages there, nothing in it is removed any more while this program runs:
/// they may be on their way, or in a message that is still being written. A shared instance. Any thread.
class ScanToEmailFolder {
public:
    /// The folder's path; it exists, and is empty unless there may be pages of this program's in it.
    std::string begin();
    /// A scan is asked to put its pages into this folder, which may be any.
    void willBeScannedInto(const std::string& folder);

private:
    std::mutex mutex_;
    bool hasPages_ = false;
};

} // namespace trigora
