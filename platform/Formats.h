#pragma once

#include "platform/Value.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace trigora::platform {

/// Encodings, by the numbers that the settings and file helpers name them with.
enum class Encoding : std::uint32_t {
    ascii = 1,
    utf8 = 4,
    unicode = 10,  ///< UTF-16; written little-endian with a byte-order mark
    macRoman = 30, ///< the system's own eight-bit encoding
};
constexpr Encoding systemEncoding = Encoding::macRoman;

/// Text between UTF-8 and the encodings of the files. Any thread.
class TextEncodings {
public:
    virtual ~TextEncodings() = default;

    /// None when the bytes are not well-formed in the encoding (a lone surrogate, an odd length, a broken
    /// sequence). UTF-16 is read by its byte-order mark, little-endian without one; the mark is dropped.
    virtual std::optional<std::string> decode(const Data& bytes, Encoding encoding) = 0;
    /// None when a character has no place in the encoding.
    virtual std::optional<Data> encode(std::string_view text, Encoding encoding) = 0;
};

/// Property lists, XML and binary read, XML written. Any thread.
class PropertyLists {
public:
    virtual ~PropertyLists() = default;

    /// None when the file cannot be read, is longer than `FileContents::longestSettings`, or is not a
    /// property list.
    virtual std::optional<Value> read(const std::string& path) = 0;
    /// False when it cannot be written or the value has no form in a property list.
    virtual bool write(const std::string& path, const Value& value, bool atomically) = 0;
};

/// Dictionaries as text that can say "present without a value", as they cross to loaded modules.
class Json {
public:
    virtual ~Json() = default;

    /// Data and dates have no form of their own: data is written as base64 text, a date as its seconds.
    virtual std::string write(const Value& value) = 0;
    /// None for malformed text, text nested deeper than 64 levels, or text that is not UTF-8.
    virtual std::optional<Value> read(std::string_view text) = 0;
};

class MessageDigest {
public:
    virtual ~MessageDigest() = default;

    virtual std::array<std::uint8_t, 16> md5(const Data& bytes) = 0;
};

/// A decoded picture: 8-bit RGBA, rows from the top, no padding.
struct Image {
    std::uint32_t width = 0;
    std::uint32_t height = 0;
    Data pixels;
};

class Images {
public:
    virtual ~Images() = default;

    /// None when the file cannot be read, is longer than `FileContents::longestPicture`, is not a PNG
    /// picture, or has more than 4096 by 4096 pixels.
    virtual std::optional<Image> load(const std::string& path) = 0;
};

} // namespace trigora::platform
