#pragma once

#include "companions/TrigoraButtons/messages/ReaderMessage.h"

#include <sane/sane.h>

#include <map>

namespace trigora::buttons {

struct SensorOption {
    std::string name;
    std::string title;
};

/// A scanner opened through SANE for reading its sensors.
class SensorScanner {
public:
    explicit SensorScanner(SANE_Handle handle);
    SensorScanner(const SensorScanner&) = delete;
    SensorScanner& operator=(const SensorScanner&) = delete;
    ~SensorScanner() { sane_close(handle_); }

    /// The options that are active, can be detected and not be set by software, and hold one value.
    std::vector<SensorOption> sensors() const;
    /// The option's value, a text as it is and anything else as a number; none when there is no such option
    /// or it cannot be read.
    std::optional<std::string> value(const std::string& option, bool readsTwice);

private:
    std::optional<std::string> valueAt(SANE_Int index) const;

    SANE_Handle handle_;
    std::map<std::string, SANE_Int> indices_;
};

Refusal refusalOf(SANE_Status status);
std::string wordsFor(SANE_Status status);

} // namespace trigora::buttons
