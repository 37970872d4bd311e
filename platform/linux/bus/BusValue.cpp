#include "platform/linux/bus/BusValue.h"

#include "platform/Text.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace trigora::platform::bus {

namespace {

int appendList(sd_bus_message* message, const Array& list, int nesting);
int appendEntries(sd_bus_message* message, const Dictionary& dictionary, int nesting);

/// The signature of the value's form on the bus; null for what does not travel.
const char* signatureOf(const Value& value, int nesting) {
    const bool mayNest = nesting < maximumNesting;
    if (value.boolean() != nullptr) {
        return "b";
    }
    if (value.integer() != nullptr) {
        return "x";
    }
    if (value.real() != nullptr || value.date() != nullptr) {
        return "d";
    }
    if (value.text() != nullptr) {
        return "s";
    }
    if (value.data() != nullptr) {
        return "ay";
    }
    if (value.array() != nullptr && mayNest) {
        return "av";
    }
    return value.dictionary() != nullptr && mayNest ? "a{sv}" : nullptr;
}

int appendText(sd_bus_message* message, std::string_view text) {
    return sd_bus_message_append_basic(message, 's', acceptableText(text).c_str());
}

int appendContents(sd_bus_message* message, const Value& value, int nesting) {
    if (const bool* boolean = value.boolean()) {
        const int number = *boolean ? 1 : 0;
        return sd_bus_message_append_basic(message, 'b', &number);
    }
    if (const std::int64_t* integer = value.integer()) {
        return sd_bus_message_append_basic(message, 'x', integer);
    }
    if (const double* real = value.real()) {
        return sd_bus_message_append_basic(message, 'd', real);
    }
    if (const Date* date = value.date()) {
        return sd_bus_message_append_basic(message, 'd', &date->secondsSince1970);
    }
    if (const std::string* text = value.text()) {
        return appendText(message, *text);
    }
    if (const Data* data = value.data()) {
        return sd_bus_message_append_array(message, 'y', data->data(), data->size());
    }
    if (const Array* list = value.array()) {
        return appendList(message, *list, nesting + 1);
    }
    return appendEntries(message, *value.dictionary(), nesting + 1);
}

int appendVariant(sd_bus_message* message, const Value& value, const char* signature, int nesting) {
    int result = sd_bus_message_open_container(message, 'v', signature);
    if (result >= 0) {
        result = appendContents(message, value, nesting);
    }
    return result < 0 ? result : sd_bus_message_close_container(message);
}

int appendEntry(sd_bus_message* message, const std::string& key, const Value& value, const char* signature,
                int nesting) {
    int result = sd_bus_message_open_container(message, 'e', "sv");
    if (result >= 0) {
        result = appendText(message, key);
    }
    if (result >= 0) {
        result = appendVariant(message, value, signature, nesting);
    }
    return result < 0 ? result : sd_bus_message_close_container(message);
}

int appendList(sd_bus_message* message, const Array& list, int nesting) {
    int result = sd_bus_message_open_container(message, 'a', "v");
    for (auto value = list.begin(); result >= 0 && value != list.end(); ++value) {
        if (const char* signature = signatureOf(*value, nesting)) {
            result = appendVariant(message, *value, signature, nesting);
        }
    }
    return result < 0 ? result : sd_bus_message_close_container(message);
}

int appendEntries(sd_bus_message* message, const Dictionary& dictionary, int nesting) {
    int result = sd_bus_message_open_container(message, 'a', "{sv}");
    for (auto entry = dictionary.begin(); result >= 0 && entry != dictionary.end(); ++entry) {
        if (const char* signature = signatureOf(entry->second, nesting)) {
            result = appendEntry(message, entry->first, entry->second, signature, nesting);
        }
    }
    return result < 0 ? result : sd_bus_message_close_container(message);
}

/// Walks a received message. Once a step has failed the message is broken, and so is all that was read.
class Reader {
public:
    explicit Reader(sd_bus_message* message) : message_(message) {}

    bool isBroken() const { return broken_; }

    /// Reads or passes over the next value, whatever it is.
    std::optional<Value> value(int nesting) {
        const char* peekedContents = nullptr;
        char type = 0;
        if (!step(sd_bus_message_peek_type(message_, &type, &peekedContents)) || type == 0) {
            return std::nullopt;
        }
        const std::string contents = peekedContents == nullptr ? "" : peekedContents;
        switch (type) {
        case 'v':
            return variant(contents, nesting);
        case 'a':
            return array(contents, nesting);
        case 'r':
            return skip("(" + contents + ")");
        default:
            return basic(type);
        }
    }

    /// Reads an array of dictionary entries. Entries whose value has no reading are left out.
    Dictionary entries(const std::string& entryContents, int nesting) {
        Dictionary dictionary;
        step(sd_bus_message_enter_container(message_, 'a', ("{" + entryContents + "}").c_str()));
        while (!broken_ && step(sd_bus_message_enter_container(message_, 'e', entryContents.c_str())) &&
               !atEnd_) {
            const std::optional<Value> key = value(nesting);
            std::optional<Value> found = value(nesting);
            step(sd_bus_message_exit_container(message_));
            if (key && key->text() != nullptr && found) {
                dictionary.insert_or_assign(*key->text(), std::move(*found));
            }
        }
        step(sd_bus_message_exit_container(message_));
        return dictionary;
    }

private:
    /// Notes how a step went: negative is a broken message, 0 means that there was nothing left.
    bool step(int result) {
        broken_ = broken_ || result < 0;
        atEnd_ = result == 0;
        return !broken_;
    }

    std::optional<Value> skip(const std::string& signature) {
        step(sd_bus_message_skip(message_, signature.c_str()));
        return std::nullopt;
    }

    std::optional<Value> variant(const std::string& contents, int nesting) {
        if (!step(sd_bus_message_enter_container(message_, 'v', contents.c_str()))) {
            return std::nullopt;
        }
        // A variant inside a variant says nothing, but has to end somewhere.
        std::optional<Value> found =
            contents == "v" && nesting >= maximumNesting ? skip("v") : value(nesting + (contents == "v"));
        step(sd_bus_message_exit_container(message_));
        return found;
    }

    std::optional<Value> array(const std::string& contents, int nesting) {
        if (contents == "y") {
            return data();
        }
        if (nesting >= maximumNesting) {
            return skip("a" + contents);
        }
        if (contents.front() != '{') {
            return list(contents, nesting + 1);
        }
        const std::string entryContents = contents.substr(1, contents.size() - 2);
        if (std::string_view("sog").find(entryContents.front()) == std::string_view::npos) {
            return skip("a" + contents);
        }
        return entries(entryContents, nesting + 1);
    }

    std::optional<Value> data() {
        const void* bytes = nullptr;
        std::size_t size = 0;
        if (!step(sd_bus_message_read_array(message_, 'y', &bytes, &size))) {
            return std::nullopt;
        }
        const auto* first = static_cast<const std::uint8_t*>(bytes);
        return size == 0 ? Data() : Data(first, first + size);
    }

    std::optional<Value> list(const std::string& contents, int nesting) {
        Array found;
        step(sd_bus_message_enter_container(message_, 'a', contents.c_str()));
        while (!broken_ && sd_bus_message_at_end(message_, 0) == 0) {
            if (std::optional<Value> element = value(nesting)) {
                found.push_back(std::move(*element));
            }
        }
        step(sd_bus_message_exit_container(message_));
        return found;
    }

    std::optional<Value> basic(char type) {
        switch (type) {
        case 'b':
            return read<int>(type, [](int number) { return Value(number != 0); });
        case 'y':
            return integer<std::uint8_t>(type);
        case 'n':
            return integer<std::int16_t>(type);
        case 'q':
            return integer<std::uint16_t>(type);
        case 'i':
            return integer<std::int32_t>(type);
        case 'u':
            return integer<std::uint32_t>(type);
        case 'x':
            return integer<std::int64_t>(type);
        case 't':
            return integer<std::uint64_t>(type);
        case 'd':
            return read<double>(type, [](double number) { return Value(number); });
        case 's':
        case 'o':
        case 'g':
            return read<const char*>(type, [](const char* text) { return Value(text); });
        default:
            return skip(std::string(1, type));
        }
    }

    template <typename Number> std::optional<Value> integer(char type) {
        return read<Number>(type, [](Number number) {
            if constexpr (std::is_same_v<Number, std::uint64_t>) {
                constexpr std::uint64_t most = std::numeric_limits<std::int64_t>::max();
                return Value(static_cast<std::int64_t>(std::min(number, most)));
            } else {
                return Value(std::int64_t{number});
            }
        });
    }

    template <typename Raw, typename Convert> std::optional<Value> read(char type, const Convert& convert) {
        Raw raw{};
        if (!step(sd_bus_message_read_basic(message_, type, &raw)) || atEnd_) {
            return std::nullopt;
        }
        return convert(raw);
    }

    sd_bus_message* message_;
    bool broken_ = false;
    bool atEnd_ = false;
};

} // namespace

std::string acceptableText(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        std::size_t length = 1;
        while (length <= std::min<std::size_t>(4, text.size()) && !isValidUtf8(text.substr(0, length))) {
            ++length;
        }
        const bool isCharacter = length <= std::min<std::size_t>(4, text.size()) && text.front() != '\0';
        result += isCharacter ? text.substr(0, length) : "\xEF\xBF\xBD";
        text.remove_prefix(isCharacter ? length : 1);
    }
    return result;
}

int appendDictionary(sd_bus_message* message, const Dictionary& dictionary) {
    return appendEntries(message, dictionary, 1);
}

std::optional<Dictionary> readDictionary(sd_bus_message* message) {
    Reader reader(message);
    Dictionary dictionary = reader.entries("sv", 1);
    return reader.isBroken() ? std::nullopt : std::optional(std::move(dictionary));
}

} // namespace trigora::platform::bus
