#pragma once

#include "platform/Value.h"
#include "platform/linux/loop/SystemdPointers.h"

#include <optional>
#include <string>
#include <string_view>

/// Values as they travel over the bus: boolean `b`, integer `x`, real `d`, text `s`, data `ay`, list `av`,
/// dictionary `a{sv}`. A date travels as a real, in seconds since 1970. A nothing does not travel, nor do
/// lists and dictionaries nested deeper than the limit, which keeps a message within what the bus allows:
/// they are left out of the list or dictionary they stand in.
///
/// Reading accepts more: integers of every width (clamped to 64 bits with sign), object paths and signatures
/// as text, arrays of one type as lists, dictionaries with any values. What has no such reading is left out.
namespace trigora::platform::bus {

constexpr int maximumNesting = 16;

/// The text with every byte that the bus would not accept (broken UTF-8, NUL) replaced by U+FFFD.
std::string acceptableText(std::string_view text);

/// Appends an `a{sv}`; negative when the message cannot hold it.
int appendDictionary(sd_bus_message* message, const Dictionary& dictionary);

/// Reads an `a{sv}`; none when the message is broken.
std::optional<Dictionary> readDictionary(sd_bus_message* message);

} // namespace trigora::platform::bus
