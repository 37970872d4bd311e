#pragma once

#include "modules/network_scan.h"
#include "platform/Formats.h"

#include <cstddef>
#include <optional>
#include <string>

/// Reading the texts of the records that the scan modules hand over.
namespace trigora {

/// The text of a field, up to a NUL or the field's end; none when it is not well-formed in the encoding. An
/// empty field is an empty text.
std::optional<std::string> fieldText(const char* field, std::size_t size, platform::Encoding encoding);

template <std::size_t size>
std::optional<std::string> fieldText(const char (&field)[size], platform::Encoding encoding) {
    return fieldText(field, size, encoding);
}

/// Writes the scanner's dotted address into the buffer, NUL-terminated and cut to its size: 8 hexadecimal
/// digits become four decimal numbers, any other text stands as it is. Gives the buffer.
char* GetIpAddress(const _PSMLPANELSCANJOBINFO& record, char* buffer, std::size_t bufferSize);

/// The same as text.
std::string dottedAddress(const _PSMLPANELSCANJOBINFO& record);

} // namespace trigora
