#pragma once

#include <cstddef>
#include <functional>

namespace trigora::companions {

/// What is wanted of a scan that is under way. The pages that have been read are kept in any case.
enum class ScanWish {
    goOn,
    stop,   ///< the scanner has stopped answering
    cancel, ///< told to end
};

// How long a scanner in use is tried again before that is a failure, and how often.
constexpr double secondsOfPatience = 10;
constexpr int microsecondsBetweenTries = 500'000;

/// Called whenever a call to the scanner has returned, with whether anything has come of it.
using ScanProgress = std::function<ScanWish(bool hasMoved)>;

/// What a scan tells while it goes on, on the thread that scans.
class ScanWatch {
public:
    virtual ~ScanWatch() = default;

    virtual ScanWish progress(bool hasMoved) = 0;
    /// So many pages have been read.
    virtual void pagesRead(std::size_t /*count*/) {}
    /// The scanner is in use or not ready, and is tried again.
    virtual void scannerIsBusy() {}
};

} // namespace trigora::companions
