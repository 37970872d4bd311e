#include "platform/Text.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cstdlib>
#include <limits>

namespace trigora::platform {

namespace {

constexpr std::string_view whiteSpace = " \t\n\v\f\r";

bool isDigit(char character) { return character >= '0' && character <= '9'; }

std::string_view withoutLeadingSpace(std::string_view text) {
    const std::size_t start = text.find_first_not_of(whiteSpace);
    return start == std::string_view::npos ? std::string_view() : text.substr(start);
}

int hexadecimalDigit(char character) {
    if (isDigit(character)) {
        return character - '0';
    }
    const int lower = std::tolower(static_cast<unsigned char>(character));
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

/// Where the extension's point stands in the last component, or npos.
std::size_t extensionPoint(std::string_view path) {
    const std::size_t slash = path.rfind('/');
    const std::size_t name = slash == std::string_view::npos ? 0 : slash + 1;
    const std::size_t point = path.rfind('.');
    if (point == std::string_view::npos || point <= name || point + 1 == path.size()) {
        return std::string_view::npos;
    }
    return point;
}

/// Length of the well-formed UTF-8 sequence at the start of the text, 0 if there is none.
std::size_t utf8SequenceLength(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const auto continues = [&](std::size_t i, unsigned low, unsigned high) {
        return i < text.size() && byte(i) >= low && byte(i) <= high;
    };
    const unsigned lead = byte(0);
    if (lead < 0x80) {
        return 1;
    }
    if (lead >= 0xC2 && lead <= 0xDF) {
        return continues(1, 0x80, 0xBF) ? 2 : 0;
    }
    if (lead >= 0xE0 && lead <= 0xEF) {
        const unsigned low = lead == 0xE0 ? 0xA0 : 0x80;
        const unsigned high = lead == 0xED ? 0x9F : 0xBF;
        return continues(1, low, high) && continues(2, 0x80, 0xBF) ? 3 : 0;
    }
    if (lead >= 0xF0 && lead <= 0xF4) {
        const unsigned low = lead == 0xF0 ? 0x90 : 0x80;
        const unsigned high = lead == 0xF4 ? 0x8F : 0xBF;
        return continues(1, low, high) && continues(2, 0x80, 0xBF) && continues(3, 0x80, 0xBF) ? 4 : 0;
    }
    return 0;
}

template <typename Convert> std::string converted(std::string_view text, Convert convert) {
    std::string result(text);
    std::transform(result.begin(), result.end(), result.begin(), convert);
    return result;
}

} // namespace

std::int32_t integerValue(std::string_view text) {
    text = withoutLeadingSpace(text);
    const bool negative = !text.empty() && text.front() == '-';
    if (!text.empty() && (text.front() == '-' || text.front() == '+')) {
        text.remove_prefix(1);
    }
    constexpr std::int64_t beyond = std::int64_t{std::numeric_limits<std::int32_t>::max()} + 1;
    std::int64_t number = 0;
    for (std::size_t i = 0; i < text.size() && isDigit(text[i]); ++i) {
        number = std::min(number * 10 + (text[i] - '0'), beyond);
    }
    number = negative ? -number : std::min(number, beyond - 1);
    return static_cast<std::int32_t>(number);
}

float floatValue(std::string_view text) {
    text = withoutLeadingSpace(text);
    if (!text.empty() && text.front() == '+') {
        text.remove_prefix(1);
    }
    const std::string_view digits = !text.empty() && text.front() == '-' ? text.substr(1) : text;
    if (digits.empty() || !(isDigit(digits.front()) || digits.front() == '.')) {
        return 0;
    }
    float number = 0;
    std::from_chars(text.data(), text.data() + text.size(), number);
    return number;
}

std::uint32_t hexadecimalValue(std::string_view text) {
    text = withoutLeadingSpace(text);
    if (text.size() > 1 && text[0] == '0' && (text[1] == 'x' || text[1] == 'X')) {
        text.remove_prefix(2);
    }
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < text.size() && hexadecimalDigit(text[i]) >= 0; ++i) {
        number = std::min<std::uint64_t>(number * 16 + static_cast<unsigned>(hexadecimalDigit(text[i])),
                                         std::numeric_limits<std::uint32_t>::max());
    }
    return static_cast<std::uint32_t>(number);
}

std::vector<std::string> componentsSeparatedByString(std::string_view text, std::string_view separator) {
    std::vector<std::string> pieces;
    std::size_t start = 0;
    while (!separator.empty()) {
        const std::size_t found = text.find(separator, start);
        if (found == std::string_view::npos) {
            break;
        }
        pieces.emplace_back(text.substr(start, found - start));
        start = found + separator.size();
    }
    pieces.emplace_back(text.substr(start));
    return pieces;
}

std::string trimmed(std::string_view text, std::string_view characters) {
    const std::size_t first = text.find_first_not_of(characters);
    if (first == std::string_view::npos) {
        return {};
    }
    return std::string(text.substr(first, text.find_last_not_of(characters) - first + 1));
}

std::string replacingOccurrences(std::string_view text, std::string_view of, std::string_view with) {
    std::string result;
    std::size_t start = 0;
    for (std::size_t found = text.find(of); !of.empty() && found != std::string_view::npos;
         found = text.find(of, start)) {
        result.append(text.substr(start, found - start)).append(with);
        start = found + of.size();
    }
    return result.append(text.substr(start));
}

std::size_t utf16Length(std::string_view text) {
    std::size_t units = 0;
    for (const char character : text) {
        const auto byte = static_cast<unsigned char>(character);
        if ((byte & 0xC0) != 0x80) {
            units += byte >= 0xF0 ? 2 : 1;
        }
    }
    return units;
}

bool isValidUtf8(std::string_view text) {
    while (!text.empty()) {
        const std::size_t length = utf8SequenceLength(text);
        if (length == 0) {
            return false;
        }
        text.remove_prefix(length);
    }
    return true;
}

std::string_view utf8Prefix(std::string_view text, std::size_t mostBytes) {
    std::size_t length = std::min(text.size(), mostBytes);
    const auto isInsideCharacter = [&] { return (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80; };
    while (length > 0 && length < text.size() && isInsideCharacter()) {
        --length;
    }
    return text.substr(0, length);
}

std::string uppercased(std::string_view text) {
    return converted(text,
                     [](char c) { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; });
}

std::string lowercased(std::string_view text) {
    return converted(text,
                     [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
}

std::string pathExtension(std::string_view path) {
    path = withoutTrailingSlashes(path);
    const std::size_t point = extensionPoint(path);
    return point == std::string_view::npos ? std::string() : std::string(path.substr(point + 1));
}

std::string_view withoutTrailingSlashes(std::string_view path) {
    while (path.size() > 1 && path.back() == '/') {
        path.remove_suffix(1);
    }
    return path;
}

std::string lastPathComponent(std::string_view path) {
    path = withoutTrailingSlashes(path);
    if (path == "/") {
        return "/";
    }
    const std::size_t slash = path.rfind('/');
    return std::string(slash == std::string_view::npos ? path : path.substr(slash + 1));
}

std::string deletingLastPathComponent(std::string_view path) {
    path = withoutTrailingSlashes(path);
    const std::size_t slash = path.rfind('/');
    if (slash == std::string_view::npos) {
        return {};
    }
    return slash == 0 ? "/" : std::string(withoutTrailingSlashes(path.substr(0, slash)));
}

std::string deletingPathExtension(std::string_view path) {
    path = withoutTrailingSlashes(path);
    return std::string(path.substr(0, extensionPoint(path)));
}

std::string appendingPathComponent(std::string_view path, std::string_view component) {
    std::string result(withoutTrailingSlashes(path));
    while (!component.empty() && component.front() == '/') {
        component.remove_prefix(1);
    }
    if (!result.empty() && result.back() != '/' && !component.empty()) {
        result += '/';
    }
    result += component;
    return std::string(withoutTrailingSlashes(result));
}

std::string appendingPathExtension(std::string_view path, std::string_view extension) {
    return std::string(withoutTrailingSlashes(path)) + "." + std::string(extension);
}

} // namespace trigora::platform
