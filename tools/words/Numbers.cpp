#include "tools/words/Numbers.h"

#include <charconv>
#include <system_error>

namespace trigora::tools {

namespace {

std::optional<std::int64_t> numberIn(std::string_view text, int base) {
    std::int64_t number = 0;
    const char* end = text.data() + text.size();
    const auto [stopped, error] = std::from_chars(text.data(), end, number, base);
    return error == std::errc() && stopped == end ? std::optional(number) : std::nullopt;
}

} // namespace

std::optional<std::int64_t> wholeNumber(std::string_view text) { return numberIn(text, 10); }

std::optional<std::int64_t> wholeHexadecimalNumber(std::string_view text) {
    return text.starts_with('-') ? std::nullopt : numberIn(text, 16);
}

} // namespace trigora::tools
