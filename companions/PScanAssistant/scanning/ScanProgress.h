#pragma once

#include <functional>

namespace trigora::companions {

/// What is wanted of a scan that is under way.
enum class ScanWish {
    goOn,
    stop,    ///< keep what there is: the scanner has stopped answering
    discard, ///< leave nothing half-written: told to quit
};

/// Called whenever a call to the scanner has returned, with whether anything has come of it.
using ScanProgress = std::function<ScanWish(bool hasMoved)>;

} // namespace trigora::companions
