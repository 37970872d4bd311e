#include "platform/Text.h"
#include "platform/linux/formats/LinuxFormats.h"
#include "platform/linux/formats/PropertyListCheck.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <memory>
#include <plist/plist.h>

namespace trigora::platform {

namespace {

/// Property lists count their dates from 2001-01-01 00:00:00 UTC.
constexpr double secondsFrom1970To2001 = 978307200;
/// The key under which a reference of a keyed archive stands in XML.
constexpr const char* referenceKey = "CF$UID";

struct FreeNode {
    void operator()(void* node) const { ::plist_free(node); }
};
using Node = std::unique_ptr<void, FreeNode>;

struct FreeText {
    void operator()(void* text) const { std::free(text); }
};
using LibraryText = std::unique_ptr<char, FreeText>;

// Reading. A part that is not a text, number, list … reads as none, and with it the whole file.

std::optional<Value> valueOf(plist_t node);

std::optional<Value> textOf(const char* text, std::uint64_t length) {
    const std::string_view view(text == nullptr ? "" : text, static_cast<std::size_t>(length));
    return isValidUtf8(view) ? std::optional<Value>(view) : std::nullopt;
}

std::optional<Value> arrayOf(plist_t node) {
    Array list;
    for (std::uint32_t i = 0; i < ::plist_array_get_size(node); ++i) {
        std::optional<Value> entry = valueOf(::plist_array_get_item(node, i));
        if (!entry) {
            return std::nullopt;
        }
        list.push_back(std::move(*entry));
    }
    return list;
}

std::optional<Value> dictionaryOf(plist_t node) {
    plist_dict_iter made = nullptr;
    ::plist_dict_new_iter(node, &made);
    const std::unique_ptr<void, FreeText> iterator(made);
    Dictionary dictionary;
    for (;;) {
        char* keyText = nullptr;
        plist_t entryNode = nullptr;
        ::plist_dict_next_item(node, iterator.get(), &keyText, &entryNode);
        const LibraryText key(keyText);
        if (entryNode == nullptr) {
            return dictionary;
        }
        std::optional<Value> entry = valueOf(entryNode);
        if (!entry || !key || !isValidUtf8(key.get())) {
            return std::nullopt;
        }
        dictionary.insert_or_assign(key.get(), std::move(*entry));
    }
}

Value booleanOf(plist_t node) {
    std::uint8_t flag = 0;
    ::plist_get_bool_val(node, &flag);
    return flag != 0;
}

Value integerNode(plist_t node) {
    std::uint64_t number = 0;
    ::plist_get_uint_val(node, &number);
    return static_cast<std::int64_t>(number);
}

Value realOf(plist_t node) {
    double number = 0;
    ::plist_get_real_val(node, &number);
    return number;
}

Value dateOf(plist_t node) {
    std::int32_t seconds = 0;
    std::int32_t microseconds = 0;
    ::plist_get_date_val(node, &seconds, &microseconds);
    return Date{secondsFrom1970To2001 + seconds + microseconds / 1e6};
}

Value dataOf(plist_t node) {
    std::uint64_t length = 0;
    const char* bytes = ::plist_get_data_ptr(node, &length);
    return bytes == nullptr ? Data() : Data(bytes, bytes + length);
}

Value referenceOf(plist_t node) {
    std::uint64_t number = 0;
    ::plist_get_uid_val(node, &number);
    return Dictionary{{referenceKey, static_cast<std::int64_t>(number)}};
}

std::optional<Value> valueOf(plist_t node) {
    switch (::plist_get_node_type(node)) {
    case PLIST_BOOLEAN:
        return booleanOf(node);
    case PLIST_UINT:
        return integerNode(node);
    case PLIST_REAL:
        return realOf(node);
    case PLIST_STRING: {
        std::uint64_t length = 0;
        const char* text = ::plist_get_string_ptr(node, &length);
        return textOf(text, length);
    }
    case PLIST_ARRAY:
        return arrayOf(node);
    case PLIST_DICT:
        return dictionaryOf(node);
    case PLIST_DATE:
        return dateOf(node);
    case PLIST_DATA:
        return dataOf(node);
    case PLIST_UID:
        return referenceOf(node);
    case PLIST_KEY:
    case PLIST_NONE:
        break;
    }
    return std::nullopt;
}

Node parsedBinary(const Data& file) {
    plist_t node = nullptr;
    if (isHarmlessBinaryPropertyList(file)) {
        ::plist_from_bin(reinterpret_cast<const char*>(file.data()), static_cast<std::uint32_t>(file.size()),
                         &node);
    }
    return Node(node);
}

Node parsedXml(std::string_view text) {
    constexpr std::string_view byteOrderMark = "\xEF\xBB\xBF";
    if (text.substr(0, byteOrderMark.size()) == byteOrderMark) {
        text.remove_prefix(byteOrderMark.size());
    }
    plist_t node = nullptr;
    if (isHarmlessXmlPropertyList(text)) {
        ::plist_from_xml(text.data(), static_cast<std::uint32_t>(text.size()), &node);
    }
    return Node(node);
}

/// The text of an XML file, which is UTF-16 when it begins with that encoding's mark.
std::optional<std::string> xmlText(const Data& file) {
    const bool isUtf16 =
        file.size() > 1 && ((file[0] == 0xFF && file[1] == 0xFE) || (file[0] == 0xFE && file[1] == 0xFF));
    return IconvTextEncodings().decode(file, isUtf16 ? Encoding::unicode : Encoding::utf8);
}

Node parsed(const Data& file) {
    constexpr std::string_view binaryStart = "bplist0";
    if (file.size() >= binaryStart.size() &&
        std::equal(binaryStart.begin(), binaryStart.end(), file.begin())) {
        return parsedBinary(file);
    }
    const std::optional<std::string> text = xmlText(file);
    return text ? parsedXml(*text) : nullptr;
}

// Writing. A part without a form has no node, and with it the whole value has none.

Node nodeOf(const Value& value, int level);

bool isWritableText(const std::string& text) {
    return text.find('\0') == std::string::npos && isValidUtf8(text);
}

Node arrayNode(const Array& array, int level) {
    Node list(::plist_new_array());
    for (const Value& entry : array) {
        Node node = nodeOf(entry, level);
        if (!node) {
            return nullptr;
        }
        ::plist_array_append_item(list.get(), node.release());
    }
    return list;
}

Node dictionaryNode(const Dictionary& dictionary, int level) {
    Node result(::plist_new_dict());
    for (const auto& [key, entry] : dictionary) {
        Node node = nodeOf(entry, level);
        if (!node || !isWritableText(key)) {
            return nullptr;
        }
        ::plist_dict_set_item(result.get(), key.c_str(), node.release());
    }
    return result;
}

/// The library keeps dates as seconds in 32 bits.
Node dateNode(const Date& date) {
    const double seconds = std::floor(date.secondsSince1970 - secondsFrom1970To2001);
    const bool fits = seconds >= std::numeric_limits<std::int32_t>::min() &&
                      seconds <= std::numeric_limits<std::int32_t>::max();
    return Node(fits ? ::plist_new_date(static_cast<std::int32_t>(seconds), 0) : nullptr);
}

Node scalarNode(const Value& value) {
    if (const bool* flag = value.boolean()) {
        return Node(::plist_new_bool(*flag ? 1 : 0));
    }
    if (const std::int64_t* number = value.integer()) {
        return Node(::plist_new_uint(static_cast<std::uint64_t>(*number)));
    }
    if (const double* number = value.real()) {
        return Node(::plist_new_real(*number));
    }
    if (const std::string* text = value.text()) {
        return Node(isWritableText(*text) ? ::plist_new_string(text->c_str()) : nullptr);
    }
    if (const Data* data = value.data()) {
        return Node(::plist_new_data(reinterpret_cast<const char*>(data->data()), data->size()));
    }
    return value.date() == nullptr ? nullptr : dateNode(*value.date());
}

Node nodeOf(const Value& value, int level) {
    if (level > deepestPropertyList) {
        return nullptr;
    }
    if (const Array* array = value.array()) {
        return arrayNode(*array, level + 1);
    }
    if (const Dictionary* dictionary = value.dictionary()) {
        return dictionaryNode(*dictionary, level + 1);
    }
    return scalarNode(value);
}

} // namespace

std::optional<Value> LinuxPropertyLists::read(const std::string& path) {
    const std::optional<Data> file = contents_.read(path, FileContents::longestSettings);
    const Node node = file ? parsed(*file) : nullptr;
    return node ? valueOf(node.get()) : std::nullopt;
}

bool LinuxPropertyLists::write(const std::string& path, const Value& value, bool atomically) {
    const Node node = nodeOf(value, 0);
    if (!node) {
        return false;
    }
    char* made = nullptr;
    std::uint32_t length = 0;
    ::plist_to_xml(node.get(), &made, &length);
    const LibraryText xml(made);
    return xml && contents_.write(path, Data(xml.get(), xml.get() + length), atomically);
}

} // namespace trigora::platform
