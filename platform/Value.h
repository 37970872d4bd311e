#pragma once

#include <compare>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <variant>
#include <vector>

namespace trigora::platform {

class Value;

using Data = std::vector<std::uint8_t>;
using Array = std::vector<Value>;
using Dictionary = std::map<std::string, Value, std::less<>>;

/// A moment, in seconds since 1970-01-01 00:00:00 UTC.
struct Date {
    double secondsSince1970 = 0;
    friend bool operator==(const Date&, const Date&) = default;
};

/// The one type of what travels in property lists, in the user information of notifications and in
/// the dictionaries of loaded modules. Text is UTF-8. "Nothing" is a key that is present without a
/// value; an absent key is simply not in its dictionary.
class Value {
public:
    Value() = default;
    Value(bool value) : storage_(value) {}
    Value(int value) : storage_(std::int64_t{value}) {}
    Value(unsigned value) : storage_(std::int64_t{value}) {}
    Value(std::int64_t value) : storage_(value) {}
    Value(double value) : storage_(value) {}
    Value(const char* value) : storage_(std::string(value)) {}
    Value(std::string_view value) : storage_(std::string(value)) {}
    Value(std::string value) : storage_(std::move(value)) {}
    Value(Data value) : storage_(std::move(value)) {}
    Value(Date value) : storage_(value) {}
    Value(Array value) : storage_(std::move(value)) {}
    Value(Dictionary value) : storage_(std::move(value)) {}

    bool isNothing() const { return std::holds_alternative<std::monostate>(storage_); }

    // Each returns null when the value is of another kind; the pointer lives as long as the value.
    const bool* boolean() const { return std::get_if<bool>(&storage_); }
    const std::int64_t* integer() const { return std::get_if<std::int64_t>(&storage_); }
    const double* real() const { return std::get_if<double>(&storage_); }
    const std::string* text() const { return std::get_if<std::string>(&storage_); }
    const Data* data() const { return std::get_if<Data>(&storage_); }
    const Date* date() const { return std::get_if<Date>(&storage_); }
    const Array* array() const { return std::get_if<Array>(&storage_); }
    const Dictionary* dictionary() const { return std::get_if<Dictionary>(&storage_); }

    friend bool operator==(const Value& left, const Value& right);

    /// Readable form for the log: text as it stands, dictionaries as "{key = value; …}", lists as
    /// "(a, b)", data as "<0a0b>", nothing as "(null)".
    std::string description() const;

private:
    std::variant<std::monostate, bool, std::int64_t, double, std::string, Data, Date, Array, Dictionary>
        storage_;
};

// What a receiver reads from a dictionary of untrusted origin. A missing key and a value that has no
// such reading both read as nothing.

/// The entry itself, or null.
const Value* find(const Dictionary& dictionary, std::string_view key);
/// The entry's text; numbers are not turned into text.
std::optional<std::string> textAt(const Dictionary& dictionary, std::string_view key);
/// Numbers and booleans as integers (fractions cut off, clamped), text read as a 32-bit number.
std::optional<std::int64_t> integerAt(const Dictionary& dictionary, std::string_view key);
/// Booleans; numbers that are not 0; text that begins with Y, y, T, t or reads as a number not 0.
std::optional<bool> booleanAt(const Dictionary& dictionary, std::string_view key);
/// A copy of the dictionary at the key.
std::optional<Dictionary> dictionaryAt(const Dictionary& dictionary, std::string_view key);
/// A copy of the list at the key.
std::optional<Array> arrayAt(const Dictionary& dictionary, std::string_view key);

/// The number a value stands for, read as `integerAt` reads it.
std::optional<std::int64_t> integerOf(const Value& value);

} // namespace trigora::platform

namespace trigora {
using platform::Array;
using platform::Data;
using platform::Dictionary;
using platform::Value;
} // namespace trigora
