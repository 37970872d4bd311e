#pragma once

#include "companions/PScanAssistant/scanning/ScanJob.h"

#include <string>

namespace trigora::companions {

/// What is told of one scan while it goes on.
struct ScanReport {
    enum class State { scanning, busy, finished, failed };

    State state = State::scanning;
    std::string driverName;
    std::size_t pageCount = 0;
    std::vector<std::string> paths; ///< as the system spells them
    ScanFailure failure;
    std::vector<ScanNote> notes;
};

/// Tells the person at the desk. Any thread.
class ScanReporter {
public:
    virtual ~ScanReporter() = default;

    virtual void report(const ScanReport& report) = 0;
};

} // namespace trigora::companions
