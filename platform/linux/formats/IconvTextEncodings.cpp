#include "platform/Text.h"
#include "platform/linux/formats/LinuxFormats.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <iconv.h>

namespace trigora::platform {

namespace {

// The C library's table of Mac OS Roman has its own idea of two characters.
constexpr std::string_view capitalDelta = "\xCE\x94";    // U+0394, read for 0xC6
constexpr std::string_view increment = "\xE2\x88\x86";   // U+2206, what 0xC6 is
constexpr std::string_view libraryLogo = "\xEE\x80\x9E"; // U+E01E, read for 0xF0
constexpr std::string_view makersLogo = "\xEF\xA3\xBF";  // U+F8FF, what 0xF0 is

/// One conversion from one encoding to another.
class Converter {
public:
    Converter(const char* to, const char* from) : descriptor_(::iconv_open(to, from)) {}
    Converter(const Converter&) = delete;
    Converter& operator=(const Converter&) = delete;
    ~Converter() {
        if (isOpen()) {
            ::iconv_close(descriptor_);
        }
    }

    /// Appends the converted text; false when a part of it has no counterpart.
    bool convert(std::string_view text, std::string& result) {
        if (!isOpen()) {
            return false;
        }
        // iconv does not change what it reads, although it asks for it.
        char* input = const_cast<char*>(text.data());
        std::size_t inputLeft = text.size();
        std::array<char, 4096> piece = {};
        while (inputLeft > 0) {
            char* output = piece.data();
            std::size_t outputLeft = piece.size();
            const std::size_t inexact = ::iconv(descriptor_, &input, &inputLeft, &output, &outputLeft);
            const int failure = inexact == static_cast<std::size_t>(-1) ? errno : 0;
            if ((failure != 0 && failure != E2BIG) || (failure == 0 && inexact != 0)) {
                return false;
            }
            result.append(piece.data(), piece.size() - outputLeft);
        }
        return true;
    }

private:
    bool isOpen() const { return descriptor_ != reinterpret_cast<iconv_t>(-1); }

    iconv_t descriptor_;
};

std::optional<std::string> converted(std::string_view text, const char* to, const char* from) {
    std::string result;
    return Converter(to, from).convert(text, result) ? std::optional(result) : std::nullopt;
}

bool isAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return (c & 0x80) == 0; });
}

std::optional<std::string> decodedUtf16(std::string_view bytes) {
    const bool bigEndian = bytes.substr(0, 2) == "\xFE\xFF";
    if (bigEndian || bytes.substr(0, 2) == "\xFF\xFE") {
        bytes.remove_prefix(2);
    }
    return converted(bytes, "UTF-8", bigEndian ? "UTF-16BE" : "UTF-16LE");
}

std::optional<std::string> encodedUtf16(std::string_view text) {
    std::string bytes = "\xFF\xFE";
    return Converter("UTF-16LE", "UTF-8").convert(text, bytes) ? std::optional(bytes) : std::nullopt;
}

std::optional<std::string> decodedMacRoman(std::string_view bytes) {
    std::optional<std::string> text = converted(bytes, "UTF-8", "MACINTOSH");
    if (text) {
        text = replacingOccurrences(replacingOccurrences(*text, capitalDelta, increment), libraryLogo,
                                    makersLogo);
    }
    return text;
}

std::optional<std::string> encodedMacRoman(std::string_view text) {
    if (text.find(capitalDelta) != std::string_view::npos ||
        text.find(libraryLogo) != std::string_view::npos) {
        return std::nullopt;
    }
    const std::string forLibrary =
        replacingOccurrences(replacingOccurrences(text, increment, capitalDelta), makersLogo, libraryLogo);
    return converted(forLibrary, "MACINTOSH", "UTF-8");
}

} // namespace

std::optional<std::string> IconvTextEncodings::decode(const Data& bytes, Encoding encoding) {
    const std::string text(bytes.begin(), bytes.end());
    switch (encoding) {
    case Encoding::ascii:
        return isAscii(text) ? std::optional(text) : std::nullopt;
    case Encoding::utf8:
        return isValidUtf8(text) ? std::optional(text) : std::nullopt;
    case Encoding::unicode:
        return decodedUtf16(text);
    case Encoding::macRoman:
        return decodedMacRoman(text);
    }
    return std::nullopt; // a number from a settings file that names none of them
}

std::optional<Data> IconvTextEncodings::encode(std::string_view text, Encoding encoding) {
    std::optional<std::string> bytes;
    if (!isValidUtf8(text)) {
        return std::nullopt;
    }
    switch (encoding) {
    case Encoding::ascii:
        bytes = isAscii(text) ? std::optional<std::string>(text) : std::nullopt;
        break;
    case Encoding::utf8:
        bytes = text;
        break;
    case Encoding::unicode:
        bytes = encodedUtf16(text);
        break;
    case Encoding::macRoman:
        bytes = encodedMacRoman(text);
        break;
    }
    return bytes ? std::optional<Data>(std::in_place, bytes->begin(), bytes->end()) : std::nullopt;
}

} // namespace trigora::platform
