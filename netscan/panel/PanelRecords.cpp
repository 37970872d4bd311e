#include "netscan/panel/PanelRecords.h"

#include "platform/Platform.h"
#include "platform/Text.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstring>

namespace trigora {

namespace {

/// The longest dotted address that an open block takes, with its NUL.
constexpr std::size_t addressSize = 64;

bool isHexadecimal(const std::string& text) {
    return std::all_of(text.begin(), text.end(), [](unsigned char c) { return std::isxdigit(c) != 0; });
}

std::string dottedFromHexadecimal(const std::string& digits) {
    std::string dotted;
    for (std::size_t i = 0; i < digits.size(); i += 2) {
        dotted += (i == 0 ? "" : ".") + std::to_string(platform::hexadecimalValue(digits.substr(i, 2)));
    }
    return dotted;
}

} // namespace

std::optional<std::string> fieldText(const char* field, std::size_t size, platform::Encoding encoding) {
    const std::size_t length = strnlen(field, size);
    return platform::current().textEncodings.decode(Data(field, field + length), encoding);
}

char* GetIpAddress(const _PSMLPANELSCANJOBINFO& record, char* buffer, std::size_t bufferSize) {
    if (buffer == nullptr || bufferSize == 0) {
        return buffer;
    }
    std::memset(buffer, 0, bufferSize);
    std::string text(record.ipAddress, strnlen(record.ipAddress, sizeof record.ipAddress));
    if (text.size() == 8 && isHexadecimal(text)) {
        text = dottedFromHexadecimal(text);
    }
    std::copy_n(text.begin(), std::min(text.size(), bufferSize - 1), buffer);
    return buffer;
}

std::string dottedAddress(const _PSMLPANELSCANJOBINFO& record) {
    std::array<char, addressSize> buffer{};
    return GetIpAddress(record, buffer.data(), buffer.size());
}

} // namespace trigora
