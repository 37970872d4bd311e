#include "files/StringHelpers.h"

#include "platform/FileSystem.h"
#include "platform/Platform.h"
#include "platform/Text.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace trigora {

namespace {

bool beginsWithByteOrderMark(const Data& bytes) {
    return (bytes[0] == 0xFF && bytes[1] == 0xFE) || (bytes[0] == 0xFE && bytes[1] == 0xFF);
}

/// A file without a mark was written on a system that knew eight-bit text only.
platform::Encoding encodingOf(const Data& bytes, platform::Encoding requested) {
    const bool isMarked = bytes.size() > 2 && beginsWithByteOrderMark(bytes);
    return requested == platform::Encoding::unicode && !isMarked ? platform::systemEncoding : requested;
}

} // namespace

std::optional<std::string> exStringWithContentsOfFile(const std::optional<std::string>& path,
                                                      platform::Encoding encoding) {
    if (!path) {
        return std::nullopt;
    }
    constexpr std::size_t longest = platform::FileContents::longestSettings;
    const std::optional<Data> bytes = platform::current().fileContents.read(*path, longest);
    if (!bytes) {
        return std::nullopt;
    }
    return platform::current().textEncodings.decode(*bytes, encodingOf(*bytes, encoding));
}

std::optional<std::string> exStringWithCString(const char* bytes, std::size_t length,
                                               platform::Encoding encoding) {
    if (bytes == nullptr || length == 0) {
        return std::nullopt;
    }
    const Data text(bytes, std::find(bytes, bytes + length, '\0'));
    return platform::current().textEncodings.decode(text, encoding);
}

bool exWriteToFile(std::string_view text, const std::string& path, bool atomically,
                   platform::Encoding encoding) {
    const std::optional<Data> bytes = platform::current().textEncodings.encode(text, encoding);
    return bytes && platform::current().fileContents.write(path, *bytes, atomically);
}

std::string hexadecimalStringWithValue(std::uint32_t value, int place) {
    std::array<char, 8> buffer{};
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value, 16).ptr;
    const std::string digits = platform::uppercased({buffer.data(), end});
    const auto least = static_cast<std::size_t>(std::max(place, 0));
    return digits.size() < least ? std::string(least - digits.size(), '0') + digits : digits;
}

std::vector<std::string> componentsSeparatedByParagraph(std::string_view text) {
    std::string unified = platform::replacingOccurrences(text, "\r\n", "\r");
    std::replace(unified.begin(), unified.end(), '\n', '\r');
    return platform::componentsSeparatedByString(unified, "\r");
}

} // namespace trigora
