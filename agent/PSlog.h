#pragma once

#include "platform/Value.h"

#include <concepts>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

/// The diagnostic log. It is off unless the folder "/Users/Shared/PELOX/Button" exists, so that on a user's
/// machine it costs one file-existence test per call; a support engineer switches it on by making that
/// folder. Lines go to "log.log" in a folder named by the running program's bundle identifier below it, and
/// to the console. The file is opened and closed for every line. Every failure is silent. Any thread.
namespace trigora {

/// One value to put in the place of a conversion; it outlives no longer than the call it is made for.
class LogArgument {
public:
    LogArgument(const char* text) : text_(text == nullptr ? "(null)" : text) {}
    LogArgument(std::string_view text) : text_(text) {}
    LogArgument(const std::string& text) : text_(text) {}
    LogArgument(const std::optional<std::string>& text) : text_(text.value_or("(null)")) {}
    LogArgument(const Value& value) : text_(value.description()) {}
    LogArgument(const Dictionary& dictionary) : text_(Value(dictionary).description()) {}
    LogArgument(std::integral auto number) : integer_(static_cast<std::int64_t>(number)), isInteger_(true) {}
    LogArgument(double number) : real_(number), isReal_(true) {}

    /// The argument in the form that a conversion such as "%03ld", "%s" or "%@" asks for.
    std::string formatted(std::string_view conversion) const;

private:
    std::string text_;
    std::int64_t integer_ = 0;
    double real_ = 0;
    bool isInteger_ = false;
    bool isReal_ = false;
};

/// Text with its conversions ("%@" and printf's) replaced by the arguments in turn; "%%" is a percent
/// sign. A conversion without an argument is left as it stands, a surplus argument is passed over. Also
/// fills the formats of the string tables.
std::string stringWithFormat(std::string_view format, std::span<const LogArgument> arguments);

template <typename... Arguments>
std::string stringWithFormat(std::string_view format, const Arguments&... arguments) {
    const std::vector<LogArgument> list{LogArgument(arguments)...};
    return stringWithFormat(format, std::span(list));
}

/// Whether the log folder exists.
bool isLogSwitchedOn();

/// Writes one line: "[time]["bundle identifier"] message" to the file, the same without the time to the
/// console. It makes no test of the switch before it formats.
void PSlogv(std::string_view format, std::span<const LogArgument> arguments);

template <typename... Arguments> void PSlog(std::string_view format, const Arguments&... arguments) {
    if (isLogSwitchedOn()) {
        const std::vector<LogArgument> list{LogArgument(arguments)...};
        PSlogv(format, std::span(list));
    }
}

/// The same for code that holds only character strings.
template <typename... Arguments> void PSlogInC(const char* format, const Arguments&... arguments) {
    if (isLogSwitchedOn()) {
        const std::vector<LogArgument> list{LogArgument(arguments)...};
        PSlogv(format == nullptr ? "" : format, std::span(list));
    }
}

} // namespace trigora
