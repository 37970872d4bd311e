#include "agent/log/PSlog.h"

#include "platform/Bundles.h"
#include "platform/Clock.h"
#include "platform/Desktop.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"
#include "platform/Text.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <ctime>

namespace trigora {

namespace {

bool isDigit(char character) { return character >= '0' && character <= '9'; }

/// A conversion taken apart.
struct Conversion {
    std::size_t length = 0;   ///< in the format, the "%" included
    std::size_t position = 0; ///< place of its argument from 1, 0 for the next one
    bool leftAligned = false;
    bool zeroFilled = false;
    bool alternate = false;
    char sign = 0; ///< what stands before a number that is not negative
    int width = 0;
    int precision = -1; ///< -1 when not given
    char letter = 0;
};

class ConversionReader {
public:
    /// The text begins with "%".
    explicit ConversionReader(std::string_view text) : text_(text) {}

    /// None when the text begins with something that this system does not convert.
    std::optional<Conversion> read() {
        Conversion conversion;
        readPosition(conversion);
        while (readFlag(conversion)) {
        }
        conversion.width = readNumber();
        if (peek() == '.') {
            ++at_;
            conversion.precision = readNumber();
        }
        while (isOneOf("hlqjztL")) {
            ++at_;
        }
        if (!isOneOf("@diuDUxXoOcCsSpfFeEgGaA")) {
            return std::nullopt;
        }
        conversion.letter = peek();
        conversion.length = at_ + 1;
        return conversion;
    }

private:
    static constexpr int limit = 255;

    char peek() const { return at_ < text_.size() ? text_[at_] : '\0'; }
    bool isOneOf(std::string_view letters) const {
        return at_ < text_.size() && letters.find(text_[at_]) != std::string_view::npos;
    }

    int readNumber() {
        int number = 0;
        for (; isDigit(peek()); ++at_) {
            number = std::min(number * 10 + (peek() - '0'), limit);
        }
        return number;
    }

    void readPosition(Conversion& conversion) {
        const std::size_t start = at_;
        const int number = readNumber();
        if (number > 0 && peek() == '$') {
            conversion.position = static_cast<std::size_t>(number);
            ++at_;
        } else {
            at_ = start;
        }
    }

    bool readFlag(Conversion& conversion) {
        if (!isOneOf("-+ #0'")) {
            return false;
        }
        switch (text_[at_++]) {
        case '-':
            conversion.leftAligned = true;
            break;
        case '+':
            conversion.sign = '+';
            break;
        case ' ':
            conversion.sign = conversion.sign == '+' ? '+' : ' ';
            break;
        case '#':
            conversion.alternate = true;
            break;
        case '0':
            conversion.zeroFilled = true;
            break;
        default:
            break;
        }
        return true;
    }

    std::string_view text_;
    std::size_t at_ = 1;
};

/// In lower case.
std::string digitsOf(std::uint64_t number, int base) {
    std::array<char, 24> buffer{};
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number, base).ptr;
    return {buffer.data(), end};
}

std::chars_format charsFormat(char lowerLetter) {
    switch (lowerLetter) {
    case 'e':
        return std::chars_format::scientific;
    case 'g':
        return std::chars_format::general;
    case 'a':
        return std::chars_format::hex;
    default:
        return std::chars_format::fixed;
    }
}

std::string timeText(std::int64_t seconds) {
    const auto time = static_cast<std::time_t>(seconds);
    std::tm local{};
    std::array<char, 26> buffer{};
    tzset(); // the zone may have been changed since the last line
    if (localtime_r(&time, &local) == nullptr) {
        return {};
    }
    return {buffer.data(), std::strftime(buffer.data(), buffer.size(), "%Y:%m:%d %H:%M:%S", &local)};
}

/// Such as "2026:01:02 03:04:05.678", to the nearest millisecond.
std::string timeStamp() {
    platform::WallTime now = platform::current().clock.wallTime();
    long milliseconds = std::lround(now.microseconds / 1000.0);
    if (milliseconds > 999) {
        now.seconds += 1;
        milliseconds -= 1000;
    }
    return stringWithFormat("%s.%03ld", timeText(now.seconds), milliseconds);
}

/// Appends to the program's log file, making the file and its folder when it cannot be opened. A file that
/// is there but cannot be written to, another user's for example, stays as it is.
void appendToFile(const std::string& folder, const std::string& line) {
    auto& platform = platform::current();
    const std::string file = platform::appendingPathComponent(folder, "log.log");
    if (!platform.fileContents.append(file, line, std::nullopt)) {
        platform.fileSystem.createDirectory(folder, true, platform::attributesSharedByAll(0777));
        platform.fileContents.append(file, line, platform::attributesSharedByAll(0666));
    }
}

void writeLine(std::string_view format, std::span<const LogArgument> arguments) {
    const std::string identifier = platform::mainBundleIdentifier();
    const std::string logged = "[" + identifier + "] " + stringWithFormat(format, arguments) + " ";
    if (isLogSwitchedOn()) {
        // Both blanks before the line feed are meant: one ends the logged text, one the line.
        appendToFile(platform::appendingPathComponent(logSwitchFolder(), identifier),
                     "[" + timeStamp() + "]" + logged + " \n");
    }
    platform::current().console.write(logged);
}

} // namespace

/// Writes one argument as one conversion wants it.
class ArgumentFormatter {
public:
    ArgumentFormatter(const LogArgument& argument, const Conversion& conversion)
        : argument_(argument), conversion_(conversion) {}

    std::string text() const {
        const bool isNumber = argument_.kind_ != LogArgument::Kind::text;
        const bool isInteger = argument_.kind_ == LogArgument::Kind::integer;
        switch (conversion_.letter) {
        case 'd':
        case 'i':
        case 'D':
            return isInteger ? signedNumber() : filled("", plainText(), false);
        case 'u':
        case 'U':
            return isInteger ? unsignedNumber(10, "") : filled("", plainText(), false);
        case 'o':
        case 'O':
            return isInteger ? unsignedNumber(8, "0") : filled("", plainText(), false);
        case 'x':
            return isInteger ? unsignedNumber(16, "0x") : filled("", plainText(), false);
        case 'X':
            return isInteger ? platform::uppercased(unsignedNumber(16, "0x"))
                             : filled("", plainText(), false);
        case 'p':
            return filled("", isInteger ? "0x" + unsignedDigits(16) : plainText(), false);
        case 'c':
        case 'C':
            return filled("", isInteger ? character() : plainText(), false);
        case 's':
        case 'S':
            return filled("", limited(plainText()), false);
        case '@':
            return filled("", plainText(), false);
        default:
            return isNumber ? realNumber() : filled("", plainText(), false);
        }
    }

private:
    std::string plainText() const {
        switch (argument_.kind_) {
        case LogArgument::Kind::integer:
            return std::to_string(argument_.integer_);
        case LogArgument::Kind::real:
            return realDigits(argument_.real_, 'g', 6);
        default:
            return argument_.text_;
        }
    }

    std::string limited(const std::string& text) const {
        const auto most = static_cast<std::size_t>(std::max(conversion_.precision, 0));
        return conversion_.precision < 0 ? text : std::string(platform::utf8Prefix(text, most));
    }

    std::string character() const {
        const bool isAscii = argument_.integer_ > 0 && argument_.integer_ < 128;
        return {isAscii ? static_cast<char>(argument_.integer_) : '?'};
    }

    std::string unsignedDigits(int base) const {
        const std::uint64_t mask = argument_.bits_ == 32 ? 0xFFFFFFFF : ~std::uint64_t{0};
        return digitsOf(static_cast<std::uint64_t>(argument_.integer_) & mask, base);
    }

    std::string unsignedNumber(int base, std::string_view prefix) const {
        const bool isPrefixed = conversion_.alternate && argument_.integer_ != 0;
        return filled(isPrefixed ? prefix : "", withLeadingZeros(unsignedDigits(base)),
                      conversion_.precision < 0);
    }

    std::string signedNumber() const {
        const bool negative = argument_.integer_ < 0;
        const auto number = static_cast<std::uint64_t>(argument_.integer_);
        return filled(signText(negative), withLeadingZeros(digitsOf(negative ? 0 - number : number, 10)),
                      conversion_.precision < 0);
    }

    std::string realNumber() const {
        const bool isInteger = argument_.kind_ == LogArgument::Kind::integer;
        const double number = isInteger ? static_cast<double>(argument_.integer_) : argument_.real_;
        const bool isUpper = conversion_.letter >= 'A' && conversion_.letter <= 'Z';
        const char lower = isUpper ? static_cast<char>(conversion_.letter - 'A' + 'a') : conversion_.letter;
        const int precision = conversion_.precision < 0 ? 6 : conversion_.precision;
        const std::string digits = realDigits(std::fabs(number), lower, precision);
        return filled(signText(std::signbit(number)), isUpper ? platform::uppercased(digits) : digits,
                      std::isfinite(number));
    }

    static std::string realDigits(double number, char lowerLetter, int precision) {
        std::array<char, 1024> buffer{}; // the largest number has 309 digits before the point
        const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number,
                                       charsFormat(lowerLetter), precision)
                             .ptr;
        return (lowerLetter == 'a' ? "0x" : "") + std::string(buffer.data(), end);
    }

    std::string signText(bool negative) const {
        if (negative) {
            return "-";
        }
        return conversion_.sign == 0 ? std::string() : std::string(1, conversion_.sign);
    }

    std::string withLeadingZeros(const std::string& digits) const {
        const auto least = static_cast<std::size_t>(std::max(conversion_.precision, 0));
        return digits.size() < least ? std::string(least - digits.size(), '0') + digits : digits;
    }

    /// Up to the width: zeros between prefix and digits where these are allowed, else blanks.
    std::string filled(std::string_view prefix, const std::string& digits, bool mayZeroFill) const {
        const auto width = static_cast<std::size_t>(conversion_.width);
        const std::size_t length = prefix.size() + digits.size();
        const std::size_t missing = width > length ? width - length : 0;
        if (conversion_.leftAligned) {
            return std::string(prefix) + digits + std::string(missing, ' ');
        }
        if (conversion_.zeroFilled && mayZeroFill) {
            return std::string(prefix) + std::string(missing, '0') + digits;
        }
        return std::string(missing, ' ') + std::string(prefix) + digits;
    }

    const LogArgument& argument_;
    const Conversion& conversion_;
};

std::string stringWithFormat(std::string_view format, std::span<const LogArgument> arguments) {
    std::string result;
    std::size_t next = 0;
    for (std::size_t percent = format.find('%'); percent != std::string_view::npos;
         percent = format.find('%')) {
        result.append(format.substr(0, percent));
        format.remove_prefix(percent);
        if (format.substr(0, 2) == "%%") {
            result += '%';
            format.remove_prefix(2);
            continue;
        }
        const std::optional<Conversion> conversion = ConversionReader(format).read();
        const std::size_t length = conversion ? conversion->length : 1;
        const std::size_t index = conversion && conversion->position > 0 ? conversion->position - 1 : next;
        if (conversion && conversion->position == 0) {
            ++next;
        }
        const bool hasArgument = conversion && index < arguments.size();
        result += hasArgument ? ArgumentFormatter(arguments[index], *conversion).text()
                              : std::string(format.substr(0, length));
        format.remove_prefix(length);
    }
    return result.append(format);
}

// The log lies below everything that knows paths, so it knows its own.
const std::string& logSwitchFolder() {
    static const std::string folder = "/Users/Shared/PELOX/Button";
    return folder;
}

bool isLogSwitchedOn() { return platform::current().fileSystem.isDirectory(logSwitchFolder()); }

void PSlogv(std::string_view format, std::span<const LogArgument> arguments) {
    try {
        writeLine(format, arguments);
    } catch (...) { // the caller never learns of a line that could not be written
        return;
    }
}

} // namespace trigora
