#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

/// Parts of sentences.
namespace trigora::tools {

/// The text with control characters shown as "?".
std::string printable(std::string text);
/// The text, or "-" for none and for an empty one.
std::string textOrDash(const std::optional<std::string>& text);
/// The words with the separator between them.
std::string joined(const std::vector<std::string>& words, std::string_view separator);

} // namespace trigora::tools
