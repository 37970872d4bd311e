#pragma once

#include "platform/Value.h"

#include <array>
#include <concepts>
#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

/// The diagnostic log. It is off unless the folder "/Users/Shared/PELOX/Button" exists, so that on a user's
/// machine it costs one look at that folder per call; a support engineer switches it on by making the
/// folder. Lines go to "log.log" in a folder named by the running program's bundle identifier below it, and
/// to the console. The file is opened and closed for every line. Every failure is silent. Any thread.
namespace trigora {

/// One value to put in the place of a conversion. It holds a copy.
class LogArgument {
public:
    LogArgument(const char* text) : text_(text == nullptr ? "(null)" : text) {}
    LogArgument(std::string_view text) : text_(text) {}
    LogArgument(const std::string& text) : text_(text) {}
    LogArgument(const std::optional<std::string>& text) : text_(text ? *text : "(null)") {}
    LogArgument(const Value& value) : text_(value.description()) {}
    LogArgument(const Dictionary& dictionary) : text_(Value(dictionary).description()) {}
    LogArgument(const std::optional<Dictionary>& dictionary)
        : text_(dictionary ? Value(*dictionary).description() : "(null)") {}
    LogArgument(std::integral auto number)
        : kind_(Kind::integer), integer_(static_cast<std::int64_t>(number)),
          bits_(sizeof(number) > 4 ? 64 : 32) {}
    LogArgument(std::floating_point auto number) : kind_(Kind::real), real_(static_cast<double>(number)) {}

private:
    friend class ArgumentFormatter;
    enum class Kind { text, integer, real };

    Kind kind_ = Kind::text;
    std::string text_;
    std::int64_t integer_ = 0;
    int bits_ = 64; ///< what an unsigned conversion shows of a negative number
    double real_ = 0;
};

/// Text with its conversions replaced by the arguments in turn: "%@", printf's, and both with a place
/// such as "%2$@"; "%%" is a percent sign. Formats may come from translated tables, so nothing in them can
/// do harm: what is not a conversion ("%n", "%*d") and one without an argument are left as they stand, one
/// that does not suit its argument is replaced by the argument's plain text, widths and precisions end at
/// 255, and a surplus argument is passed over.
std::string stringWithFormat(std::string_view format, std::span<const LogArgument> arguments);

template <typename... Arguments>
std::string stringWithFormat(std::string_view format, const Arguments&... arguments) {
    const std::array<LogArgument, sizeof...(arguments)> list{LogArgument(arguments)...};
    return stringWithFormat(format, std::span<const LogArgument>(list));
}

/// The log folder. Its existence alone switches the log on.
const std::string& logSwitchFolder();
/// Whether the log folder exists.
bool isLogSwitchedOn();

/// Writes one line: "[time][bundle identifier] message  " to the file, the same without the time to the
/// console. It formats without looking at the switch first.
void PSlogv(std::string_view format, std::span<const LogArgument> arguments);

template <typename... Arguments> void PSlog(std::string_view format, const Arguments&... arguments) {
    if (isLogSwitchedOn()) {
        const std::array<LogArgument, sizeof...(arguments)> list{LogArgument(arguments)...};
        PSlogv(format, std::span<const LogArgument>(list));
    }
}

/// The same for code that holds only character strings.
template <typename... Arguments> void PSlogInC(const char* format, const Arguments&... arguments) {
    PSlog(format == nullptr ? std::string_view() : std::string_view(format), arguments...);
}

} // namespace trigora
