#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace trigora::buttons {

enum class SensorKind {
    level,   ///< what the button is at the moment of reading
    cleared, ///< set by a press, cleared by reading
    latched, ///< set by a press, goes back when the scanner is opened anew
    text,    ///< names the pressed buttons
};

/// A sensor that is a button, or with `text` several.
struct SensorRow {
    std::string option; ///< SANE's name for it
    SensorKind kind = SensorKind::level;
    std::uint32_t button = 0;                                ///< counted from 1; 0 for a text
    std::int32_t order = 0;                                  ///< lower ones are read first
    std::map<std::string, std::uint32_t, std::less<>> words; ///< the button of each word of a text
};

/// How the sensors of one back-end are read.
struct BackEndRules {
    std::vector<SensorRow> rows; ///< in the order of reading
    std::chrono::milliseconds interval{100};
    bool readsTwice = false; ///< an option is refreshed only when it is read again
    bool reopens = false;    ///< the scanner has to be opened anew after a press
};

/// What the two files ScannerButtons.ini say, the user's own before the installed one.
class SensorTable {
public:
    /// Reads both files anew. Main thread only.
    static SensorTable read();

    /// Rules without rows for a back-end that the files do not know.
    const BackEndRules& rulesOf(const std::string& backEnd) const;
    /// Whether the files say of the option that it is not a button.
    bool isNoButton(const std::string& backEnd, const std::string& option) const;
    /// A sentence for each line that means nothing and was passed over.
    const std::vector<std::string>& problems() const { return problems_; }

private:
    struct BackEnd {
        BackEndRules rules;
        std::vector<std::string> noButtons;
    };

    std::map<std::string, BackEnd> backEnds_;
    std::vector<std::string> problems_;
};

/// "genesys" of "genesys:libusb:001:004".
std::string backEndOf(std::string_view device);

} // namespace trigora::buttons
