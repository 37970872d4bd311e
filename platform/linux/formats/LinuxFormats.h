#pragma once

#include "platform/FileSystem.h"
#include "platform/Formats.h"

namespace trigora::platform {

/// Through iconv.
class IconvTextEncodings final : public TextEncodings {
public:
    std::optional<std::string> decode(const Data& bytes, Encoding encoding) override;
    std::optional<Data> encode(std::string_view text, Encoding encoding) override;
};

/// Through libplist. Files nested deeper than 128 levels, larger than any settings file (see
/// PropertyListCheck.h) or with text that is not UTF-8 are unreadable. Nothing ("present without a value"),
/// text with an embedded NUL and dates beyond the format have no form and make `write` fail; fractions of a
/// date's second are not kept.
class LinuxPropertyLists final : public PropertyLists {
public:
    explicit LinuxPropertyLists(FileContents& contents) : contents_(contents) {}

    std::optional<Value> read(const std::string& path) override;
    bool write(const std::string& path, const Value& value, bool atomically) override;

private:
    FileContents& contents_;
};

/// Through nlohmann's JSON library.
class LinuxJson final : public Json {
public:
    std::string write(const Value& value) override;
    std::optional<Value> read(std::string_view text) override;
};

/// Through libmd.
class LinuxMessageDigest final : public MessageDigest {
public:
    std::array<std::uint8_t, 16> md5(const Data& bytes) override;
};

/// Through libpng.
class PngImages final : public Images {
public:
    explicit PngImages(FileContents& contents) : contents_(contents) {}

    std::optional<Image> load(const std::string& path) override;

private:
    FileContents& contents_;
};

} // namespace trigora::platform
