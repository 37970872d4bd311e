#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace trigora {

/// Values by key, as a definition file or one section of an INI file holds them.
using KeyedText = std::map<std::string, std::string, std::less<>>;

/// Adds an entry for every line that holds exactly one "=": what stands before it is the key, what stands
/// after it the value, blanks included. Of several entries of one key the last one counts.
void addKeyedText(KeyedText& entries, std::string_view text);

} // namespace trigora
