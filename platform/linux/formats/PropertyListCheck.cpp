#include "platform/linux/formats/PropertyListCheck.h"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <vector>

namespace trigora::platform {

namespace {

bool startsWith(std::string_view text, std::string_view start) {
    return text.substr(0, start.size()) == start;
}

/// What follows the first occurrence of the mark; empty without one.
std::string_view after(std::string_view text, std::string_view mark) {
    const std::size_t found = text.find(mark);
    return found == std::string_view::npos ? std::string_view() : text.substr(found + mark.size());
}

std::string_view afterDocumentType(std::string_view text) {
    const std::size_t end = text.find_first_of("[>");
    const bool hasDeclarations = end != std::string_view::npos && text[end] == '[';
    return after(text, hasDeclarations ? "]>" : ">");
}

bool isContainer(std::string_view name) { return startsWith(name, "dict") || startsWith(name, "array"); }

/// A node of the binary format, unfolded: how deep it reaches, how many values it is, and their bytes.
struct Extent {
    int depth = 0;
    std::size_t values = 0;
    std::size_t bytes = 0;
};

/// Walks the objects of a binary file from the root. The file ends with a trailer that gives the sizes of
/// the numbers used in it and says where the table of the objects' offsets begins.
class BinaryWalk {
public:
    explicit BinaryWalk(const Data& file) : file_(file) {}

    bool isHarmless() {
        constexpr std::size_t headerSize = 8;
        constexpr std::size_t trailerSize = 32;
        if (file_.size() < headerSize + trailerSize) {
            return false;
        }
        const std::size_t trailer = file_.size() - trailerSize;
        offsetSize_ = file_[trailer + 6];
        referenceSize_ = file_[trailer + 7];
        const auto count = number(trailer + 8, 8);
        const auto root = number(trailer + 16, 8);
        const auto table = number(trailer + 24, 8);
        if (!isNumberSize(offsetSize_) || !isNumberSize(referenceSize_) || !count || !root || !table ||
            *count > largestPropertyList || *root >= *count || *table > trailer ||
            *count * offsetSize_ > trailer - *table) {
            return false;
        }
        table_ = static_cast<std::size_t>(*table);
        known_.resize(static_cast<std::size_t>(*count));
        return extentOf(*root, 0).has_value();
    }

private:
    static bool isNumberSize(std::size_t size) { return size >= 1 && size <= 8; }

    /// A big-endian number; none beyond the end of the file.
    std::optional<std::uint64_t> number(std::size_t position, std::size_t size) const {
        if (position > file_.size() || size > file_.size() - position) {
            return std::nullopt;
        }
        std::uint64_t result = 0;
        for (std::size_t i = 0; i < size; ++i) {
            result = (result << 8) | file_[position + i];
        }
        return result;
    }

    /// None when the object breaks a limit or reaches beyond the file. One that contains itself is nested
    /// without end.
    std::optional<Extent> extentOf(std::uint64_t index, int level) {
        if (index >= known_.size() || level > deepestPropertyList) {
            return std::nullopt;
        }
        const auto object = static_cast<std::size_t>(index);
        if (!known_[object]) {
            known_[object] = measure(object, level);
        }
        const std::optional<Extent>& extent = known_[object];
        return extent && level + extent->depth <= deepestPropertyList ? extent : std::nullopt;
    }

    std::optional<Extent> measure(std::size_t object, int level) {
        const auto offset = number(table_ + object * offsetSize_, offsetSize_);
        const auto marker = offset ? number(static_cast<std::size_t>(*offset), 1) : std::nullopt;
        if (!marker || *offset >= table_) {
            return std::nullopt;
        }
        const auto kind = static_cast<unsigned>(*marker >> 4);
        std::size_t position = static_cast<std::size_t>(*offset) + 1;
        const auto length = lengthAt(position, kind, static_cast<unsigned>(*marker & 0xF));
        constexpr unsigned array = 0xA;
        constexpr unsigned set = 0xC;
        constexpr unsigned dictionary = 0xD;
        if (!length || *length > file_.size()) {
            return std::nullopt;
        }
        if (kind != array && kind != set && kind != dictionary) {
            return Extent{0, 1, static_cast<std::size_t>(*length)};
        }
        const std::size_t references = static_cast<std::size_t>(*length) * (kind == dictionary ? 2 : 1);
        return sumOf(position, references, level);
    }

    /// The count that an object begins with; a scalar's is the number of its units, which is close enough
    /// to its bytes. Moves the position behind a count that has a number of its own.
    std::optional<std::uint64_t> lengthAt(std::size_t& position, unsigned kind, unsigned nibble) const {
        constexpr unsigned firstCounted = 4; // data; below stand constants, numbers and dates
        if (kind < firstCounted || nibble != 0xF) {
            return kind < firstCounted ? 8 : nibble;
        }
        const auto sizeMarker = number(position, 1);
        if (!sizeMarker || (*sizeMarker >> 4) != 1 || (*sizeMarker & 0xF) > 3) {
            return std::nullopt;
        }
        const std::size_t size = std::size_t{1} << (*sizeMarker & 0xF);
        const auto length = number(position + 1, size);
        position += 1 + size;
        return length;
    }

    std::optional<Extent> sumOf(std::size_t position, std::size_t references, int level) {
        constexpr std::size_t mostBytes = std::size_t{8} << 20;
        Extent sum{1, 1, 0};
        for (std::size_t i = 0; i < references; ++i) {
            const auto reference = number(position + i * referenceSize_, referenceSize_);
            const auto part = reference ? extentOf(*reference, level + 1) : std::nullopt;
            if (!part) {
                return std::nullopt;
            }
            sum.depth = std::max(sum.depth, part->depth + 1);
            sum.values += part->values;
            sum.bytes += part->bytes;
            if (sum.values > largestPropertyList || sum.bytes > mostBytes) {
                return std::nullopt;
            }
        }
        return sum;
    }

    const Data& file_;
    std::size_t offsetSize_ = 0;
    std::size_t referenceSize_ = 0;
    std::size_t table_ = 0;
    std::vector<std::optional<Extent>> known_; ///< by object
};

} // namespace

bool isHarmlessXmlPropertyList(std::string_view text) {
    int depth = 0;
    std::size_t values = 0;
    for (text = after(text, "<"); !text.empty(); text = after(text, "<")) {
        if (startsWith(text, "!--")) {
            text = after(text.substr(3), "-->");
        } else if (startsWith(text, "![CDATA[")) {
            text = after(text, "]]>");
        } else if (startsWith(text, "!DOCTYPE")) {
            text = afterDocumentType(text);
        } else if (startsWith(text, "?")) {
            text = after(text, "?>");
        } else if (startsWith(text, "/")) {
            depth -= isContainer(text.substr(1)) ? 1 : 0;
        } else {
            const std::size_t end = text.find('>');
            const bool isEmpty = end != std::string_view::npos && end > 0 && text[end - 1] == '/';
            depth += isContainer(text) && !isEmpty ? 1 : 0;
            ++values;
        }
        if (depth > deepestPropertyList || values > largestPropertyList) {
            return false;
        }
    }
    return true;
}

bool isHarmlessBinaryPropertyList(const Data& file) { return BinaryWalk(file).isHarmless(); }

} // namespace trigora::platform
