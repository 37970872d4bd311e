#include "platform/Value.h"

#include "platform/Text.h"

#include <cmath>
#include <cstdio>
#include <limits>

namespace trigora::platform {

namespace {

std::int64_t clampedInteger(double number) {
    if (std::isnan(number)) {
        return 0;
    }
    if (number >= static_cast<double>(std::numeric_limits<std::int64_t>::max())) {
        return std::numeric_limits<std::int64_t>::max();
    }
    if (number <= static_cast<double>(std::numeric_limits<std::int64_t>::min())) {
        return std::numeric_limits<std::int64_t>::min();
    }
    return static_cast<std::int64_t>(number);
}

std::string hexadecimalBytes(const Data& data) {
    std::string text = "<";
    for (std::uint8_t byte : data) {
        char digits[3];
        std::snprintf(digits, sizeof digits, "%02x", byte);
        text += digits;
    }
    return text + ">";
}

std::string realText(double number) {
    char text[32];
    std::snprintf(text, sizeof text, "%.15g", number);
    return text;
}

std::string listText(const Array& list) {
    std::string text = "(";
    for (std::size_t i = 0; i < list.size(); ++i) {
        text += (i == 0 ? "" : ", ") + list[i].description();
    }
    return text + ")";
}

std::string dictionaryText(const Dictionary& dictionary) {
    std::string text = "{";
    for (const auto& [key, value] : dictionary) {
        text += key + " = " + value.description() + "; ";
    }
    if (!dictionary.empty()) {
        text.pop_back();
    }
    return text + "}";
}

} // namespace

bool operator==(const Value& left, const Value& right) { return left.storage_ == right.storage_; }

std::string Value::description() const {
    if (const bool* value = boolean()) {
        return *value ? "1" : "0";
    }
    if (const std::int64_t* value = integer()) {
        return std::to_string(*value);
    }
    if (const double* value = real()) {
        return realText(*value);
    }
    if (const std::string* value = text()) {
        return *value;
    }
    if (const Data* value = data()) {
        return hexadecimalBytes(*value);
    }
    if (const Date* value = date()) {
        return realText(value->secondsSince1970);
    }
    if (const Array* value = array()) {
        return listText(*value);
    }
    if (const Dictionary* value = dictionary()) {
        return dictionaryText(*value);
    }
    return "(null)";
}

const Value* find(const Dictionary& dictionary, std::string_view key) {
    const auto entry = dictionary.find(key);
    return entry == dictionary.end() ? nullptr : &entry->second;
}

std::optional<std::string> textAt(const Dictionary& dictionary, std::string_view key) {
    const Value* value = find(dictionary, key);
    if (value == nullptr || value->text() == nullptr) {
        return std::nullopt;
    }
    return *value->text();
}

std::optional<std::int64_t> integerOf(const Value& value) {
    if (const bool* flag = value.boolean()) {
        return *flag ? 1 : 0;
    }
    if (const std::int64_t* number = value.integer()) {
        return *number;
    }
    if (const double* number = value.real()) {
        return clampedInteger(*number);
    }
    if (const std::string* text = value.text()) {
        return integerValue(*text);
    }
    return std::nullopt;
}

std::optional<std::int64_t> integerAt(const Dictionary& dictionary, std::string_view key) {
    const Value* value = find(dictionary, key);
    return value == nullptr ? std::nullopt : integerOf(*value);
}

std::optional<bool> booleanAt(const Dictionary& dictionary, std::string_view key) {
    const Value* value = find(dictionary, key);
    if (value == nullptr) {
        return std::nullopt;
    }
    if (const std::string* text = value->text()) {
        const bool yes =
            !text->empty() && std::string_view("YyTt").find(text->front()) != std::string_view::npos;
        return yes || integerValue(*text) != 0;
    }
    if (const double* number = value->real()) {
        return *number != 0;
    }
    const std::optional<std::int64_t> number = integerOf(*value);
    return number ? std::optional<bool>(*number != 0) : std::nullopt;
}

std::optional<Dictionary> dictionaryAt(const Dictionary& dictionary, std::string_view key) {
    const Value* value = find(dictionary, key);
    if (value == nullptr || value->dictionary() == nullptr) {
        return std::nullopt;
    }
    return *value->dictionary();
}

std::optional<Array> arrayAt(const Dictionary& dictionary, std::string_view key) {
    const Value* value = find(dictionary, key);
    if (value == nullptr || value->array() == nullptr) {
        return std::nullopt;
    }
    return *value->array();
}

} // namespace trigora::platform
