#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Reading numbers from text, splitting and trimming, and the arithmetic of paths. All text is UTF-8.
/// These are the only helpers of their kind: nothing else parses a number or takes a path apart.
namespace trigora::platform {

// Numbers. Leading white space is skipped, then an optional sign, then digits up to the first other
// character; text without digits reads as 0.

/// Clamped to the range of a signed 32-bit integer.
std::int32_t integerValue(std::string_view text);
/// Single precision, as a version text is compared.
float floatValue(std::string_view text);
/// Hexadecimal digits after an optional "0x" or "0X"; no sign; clamped to 32 bits.
std::uint32_t hexadecimalValue(std::string_view text);

// Pieces.

/// Splits at every occurrence; a text without the separator is its own only piece, an empty text one empty
/// piece.
std::vector<std::string> componentsSeparatedByString(std::string_view text, std::string_view separator);
/// Removes the given characters from both ends.
std::string trimmed(std::string_view text, std::string_view characters);
std::string replacingOccurrences(std::string_view text, std::string_view of, std::string_view with);
/// Number of UTF-16 units the text takes.
std::size_t utf16Length(std::string_view text);
/// Whether the bytes are well-formed UTF-8.
bool isValidUtf8(std::string_view text);
/// The longest beginning of UTF-8 text that takes no more bytes than that and ends with a whole character.
std::string_view utf8Prefix(std::string_view text, std::size_t mostBytes);
/// ASCII letters only.
std::string uppercased(std::string_view text);
std::string lowercased(std::string_view text);

// Paths. A trailing "/" does not count; "/" is its own last component and its own parent.

/// Without the point; empty for a name without one and for a name that only begins with one.
std::string pathExtension(std::string_view path);
std::string lastPathComponent(std::string_view path);
/// A part of the given text; "/" stays.
std::string_view withoutTrailingSlashes(std::string_view path);
/// The parent: that of "/a/b" is "/a", of "/a" "/", of "a" the empty text.
std::string deletingLastPathComponent(std::string_view path);
std::string deletingPathExtension(std::string_view path);
std::string appendingPathComponent(std::string_view path, std::string_view component);
std::string appendingPathExtension(std::string_view path, std::string_view extension);

/// The first four bytes of a text as a four-character code; bytes that are missing count as 0.
constexpr std::uint32_t leadingFourCharCode(std::string_view text) {
    std::uint32_t code = 0;
    for (std::size_t i = 0; i < 4; ++i) {
        code = (code << 8) | (i < text.size() ? static_cast<std::uint8_t>(text[i]) : 0U);
    }
    return code;
}

/// A four-character code written as text, e.g. 'PLsc': its big-endian number.
constexpr std::uint32_t fourCharCode(const char (&text)[5]) {
    return leadingFourCharCode(std::string_view(text, 4));
}

} // namespace trigora::platform
