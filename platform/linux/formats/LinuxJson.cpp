#include "platform/linux/formats/LinuxFormats.h"

#include <algorithm>
#include <limits>
#include <nlohmann/json.hpp>

namespace trigora::platform {

namespace {

using nlohmann::json;

constexpr int deepestNesting = 64;

std::string base64(const Data& data) {
    constexpr std::string_view digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    for (std::size_t i = 0; i < data.size(); i += 3) {
        const std::size_t count = std::min<std::size_t>(3, data.size() - i);
        std::uint32_t bits = 0;
        for (std::size_t j = 0; j < 3; ++j) {
            bits = (bits << 8) | (j < count ? data[i + j] : 0U);
        }
        for (std::size_t j = 0; j < 4; ++j) {
            text += j <= count ? digits[(bits >> (18 - 6 * j)) & 0x3F] : '=';
        }
    }
    return text;
}

json jsonOf(const Value& value) {
    if (const bool* flag = value.boolean()) {
        return *flag;
    }
    if (const std::int64_t* number = value.integer()) {
        return *number;
    }
    if (const double* number = value.real()) {
        return *number;
    }
    if (const std::string* text = value.text()) {
        return *text;
    }
    if (const Data* data = value.data()) {
        return base64(*data);
    }
    if (const Date* date = value.date()) {
        return date->secondsSince1970;
    }
    if (const Array* array = value.array()) {
        json list = json::array();
        std::transform(array->begin(), array->end(), std::back_inserter(list), jsonOf);
        return list;
    }
    if (const Dictionary* dictionary = value.dictionary()) {
        json object = json::object();
        for (const auto& [key, entry] : *dictionary) {
            object[key] = jsonOf(entry);
        }
        return object;
    }
    return nullptr;
}

Value valueOf(const json& node) {
    switch (node.type()) {
    case json::value_t::boolean:
        return node.get<bool>();
    case json::value_t::number_integer:
        return node.get<std::int64_t>();
    case json::value_t::number_unsigned: {
        const auto number = node.get<std::uint64_t>();
        const bool fits = number <= static_cast<std::uint64_t>(std::numeric_limits<std::int64_t>::max());
        return fits ? Value(static_cast<std::int64_t>(number)) : Value(static_cast<double>(number));
    }
    case json::value_t::number_float:
        return node.get<double>();
    case json::value_t::string:
        return node.get<std::string>();
    case json::value_t::array: {
        Array list;
        std::transform(node.begin(), node.end(), std::back_inserter(list), valueOf);
        return list;
    }
    case json::value_t::object: {
        Dictionary dictionary;
        for (const auto& [key, entry] : node.items()) {
            dictionary.emplace(key, valueOf(entry));
        }
        return dictionary;
    }
    case json::value_t::null:
    case json::value_t::binary:
    case json::value_t::discarded:
        break;
    }
    return {};
}

/// How deep brackets outside of strings are nested; for malformed text it is some number, too.
int nestingOf(std::string_view text) {
    int depth = 0;
    int deepest = 0;
    bool inString = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char character = text[i];
        if (character == '"') {
            inString = !inString;
        } else if (inString) {
            i += character == '\\' ? 1 : 0;
        } else if (character == '[' || character == '{') {
            deepest = std::max(deepest, ++depth);
        } else if (character == ']' || character == '}') {
            --depth;
        }
    }
    return deepest;
}

} // namespace

std::string LinuxJson::write(const Value& value) {
    // Text that is not UTF-8 must not make the whole dictionary unwritable.
    return jsonOf(value).dump(-1, ' ', false, json::error_handler_t::replace);
}

std::optional<Value> LinuxJson::read(std::string_view text) {
    if (nestingOf(text) > deepestNesting) {
        return std::nullopt;
    }
    const json node = json::parse(text, nullptr, false);
    return node.is_discarded() ? std::nullopt : std::optional(valueOf(node));
}

} // namespace trigora::platform
