#pragma once

#include "platform/Formats.h"

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

/// Reading, splitting and writing the text of the installed and per-user files, and small helpers for
/// strings and lists. Text in memory is UTF-8; encodings are those of the files.
namespace trigora {

/// The whole file as text. For `Encoding::unicode` a file is read as UTF-16 only if it is longer than two
/// bytes and begins with a byte-order mark, else in the system's eight-bit encoding. None without a path,
/// and for a file that is longer than `platform::FileContents::longestSettings`, cannot be read, or is not
/// well-formed in the encoding.
std::optional<std::string> exStringWithContentsOfFile(const std::optional<std::string>& path,
                                                      platform::Encoding encoding);

/// Text from a field of `length` bytes; it ends at the first zero byte within the field. None without
/// bytes, for the length 0, and for bytes that are not well-formed in the encoding.
std::optional<std::string> exStringWithCString(const char* bytes, std::size_t length,
                                               platform::Encoding encoding);

/// False when a character has no place in the encoding or the file cannot be written.
bool exWriteToFile(std::string_view text, const std::string& path, bool atomically,
                   platform::Encoding encoding);

/// Upper-case hexadecimal digits, filled up with zeros to at least `place` digits, never cut.
std::string hexadecimalStringWithValue(std::uint32_t value, int place);

/// The lines of a text, whose breaks are "\r\n", "\n" or "\r", also mixed. Empty lines are kept; a break
/// at the end leads to a last, empty line; an empty text is one empty line.
std::vector<std::string> componentsSeparatedByParagraph(std::string_view text);

/// Inserts the objects in their order from the index on; does nothing when the index lies beyond the end.
template <typename T>
void insertObjects(std::vector<T>& list, std::vector<T> objects, std::size_t atStartIndex) {
    if (atStartIndex > list.size()) {
        return;
    }
    list.insert(list.begin() + static_cast<std::ptrdiff_t>(atStartIndex),
                std::make_move_iterator(objects.begin()), std::make_move_iterator(objects.end()));
}

} // namespace trigora
