#pragma once

#include <functional>
#include <map>
#include <string>
#include <string_view>

namespace trigora {

/// Values by key, as a definition file or one section of an INI file holds them.
using KeyedText = std::map<std::string, std::string, std::less<>>;

/// The entries of all lines that hold exactly one "=": what stands before it is the key, what stands after
/// it the value, blanks included. Of several entries of one key the last one counts.
KeyedText keyedTextWithString(std::string_view text);

} // namespace trigora
