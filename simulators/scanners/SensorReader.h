#pragma once

#include "simulators/scanners/ScannerFile.h"

#include <deque>
#include <string>
#include <vector>

namespace trigora::simulators {

/// What one session's back-end remembers of the sensors, and how it reads them.
class SensorReader {
public:
    /// Reads the buttons where the back-end does so when it opens the scanner.
    explicit SensorReader(std::shared_ptr<ScannerFile> scanner);

    /// The sensor's value, as long as the reading takes.
    int number(std::size_t sensor);
    std::string text(std::size_t sensor);
    /// What it was at the last reading.
    int lastNumber(std::size_t sensor) const { return values_[sensor]; }

private:
    struct Button {
        bool level = false;
        std::deque<bool> changes; ///< not read yet
    };

    void wait(std::int64_t nanoseconds) const;
    void noteChanges(const ScannerState& state);
    void addPresses(ScannerState& state);
    void takeEvent();
    void copyLevels(const ScannerState& state);
    int changeOf(std::size_t sensor);

    std::shared_ptr<ScannerFile> scanner_;
    Reading reading_;
    std::vector<Button> buttons_;
    std::vector<int> values_;
    std::vector<bool> isFresh_; ///< has not been read since all were
    std::int64_t second_ = -1;  ///< of the last look
};

} // namespace trigora::simulators
