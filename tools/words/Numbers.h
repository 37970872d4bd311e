#pragma once

#include <cstdint>
#include <optional>
#include <string_view>

/// Numbers as people write them: the whole text counts; none for anything else.
namespace trigora::tools {

/// Decimal digits, perhaps behind a "-".
std::optional<std::int64_t> wholeNumber(std::string_view text);
/// Hexadecimal digits alone.
std::optional<std::int64_t> wholeHexadecimalNumber(std::string_view text);

} // namespace trigora::tools
