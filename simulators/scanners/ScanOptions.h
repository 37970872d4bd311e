#pragma once

#include "simulators/scanners/ScannerFile.h"

#include <deque>
#include <map>
#include <sane/sane.h>
#include <string>
#include <vector>

namespace trigora::simulators {

/// How a page is to be scanned.
struct ScanMode {
    enum class Colours { lineart, grey, colour };

    Colours colours = Colours::grey;
    int depth = 8;
    int resolution = 75; ///< dots per inch
    double left = 0;     ///< millimetres
    double top = 0;
    double right = 0;
    double bottom = 0;
    bool isFromFeeder = false;
    bool hasBothSides = false;
};

/// The options of one session: those of a scan, then the scanner's sensors and switches.
class ScanOptions {
public:
    explicit ScanOptions(ScannerFile& scanner);

    /// Null behind the last one. Lives as long as this.
    const SANE_Option_Descriptor* descriptor(SANE_Int option) const;
    /// The sensor of that option; -1 for another option.
    int sensorOf(SANE_Int option) const;
    /// Of what is not a sensor. The value has room for the descriptor's size.
    SANE_Status get(SANE_Int option, void* value) const;
    /// To the nearest that the scanner can do, which the information tells.
    SANE_Status set(SANE_Int option, const void* value, SANE_Int& information);
    ScanMode mode() const;

private:
    struct Option {
        SANE_Option_Descriptor descriptor{};
        int sensor = -1;
        SANE_Word word = 0;
        std::string text;
    };

    Option& add(std::string_view name, std::string_view title, SANE_Value_Type type, SANE_Int capabilities);
    void addTexts(Option& option, const std::vector<std::string>& texts);
    void addScan(const ScannerState& state);
    void addSensors(const ScannerState& state);
    void allowWhatTheModeNeeds();
    Option& at(std::string_view name);
    const Option& at(std::string_view name) const;

    std::deque<Option> options_;                           // stay where they are
    std::deque<std::string> names_;                        // of the descriptors
    std::deque<std::vector<SANE_String_Const>> textLists_; // of the descriptors
    SANE_Range width_{};
    SANE_Range height_{};
};

} // namespace trigora::simulators
