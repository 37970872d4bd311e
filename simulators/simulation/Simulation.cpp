#include "simulators/simulation/Simulation.h"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace trigora::simulators {

namespace {

constexpr std::size_t largestFile = std::size_t{1} << 20;
constexpr off_t largestJournal = off_t{256} << 20;
constexpr std::int64_t longestDelay = 60000; // milliseconds
constexpr std::size_t longestText = 4096;

class Descriptor {
public:
    Descriptor(const std::string& path, int flags) : number_(open(path.c_str(), flags | O_CLOEXEC, 0600)) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (number_ >= 0) {
            close(number_);
        }
    }
    int number() const { return number_; }
    /// The size of a regular file; none for anything else.
    std::optional<off_t> fileSize() const {
        struct stat status {};
        const bool isFile = number_ >= 0 && fstat(number_, &status) == 0 && S_ISREG(status.st_mode);
        return isFile ? std::optional(status.st_size) : std::nullopt;
    }
    bool writeAll(const std::string& text) const {
        return number_ >= 0 && write(number_, text.data(), text.size()) == static_cast<ssize_t>(text.size());
    }

private:
    int number_;
};

std::string pathOf(const std::string& fileName) {
    const std::optional<std::string> folder = simulationFolder();
    return folder ? *folder + "/" + fileName : std::string();
}

std::string dumped(const json& value) {
    return value.dump(-1, ' ', false, json::error_handler_t::replace) + "\n";
}

json settings() { return readObject("settings.json"); }

/// Whole lines, also when several threads and processes write at once: one write at the end of the file.
void appendToJournal(const json& line) {
    const Descriptor journal(pathOf("journal.jsonl"), O_WRONLY | O_APPEND | O_CREAT | O_NONBLOCK);
    const std::optional<off_t> size = journal.fileSize();
    if (size && *size < largestJournal) {
        journal.writeAll(dumped(line));
    }
}

json journalLine(const std::string& module, const std::string& operation, json details) {
    json line = details.is_object() ? std::move(details) : json::object();
    line["module"] = module;
    line["call"] = operation;
    line["thread"] = gettid();
    return line;
}

} // namespace

std::optional<std::string> simulationFolder() {
    std::string folder;
    if (const char* named = std::getenv("TRIGORA_SIMULATORS"); named != nullptr && *named != '\0') {
        folder = named;
    } else if (const char* runtime = std::getenv("XDG_RUNTIME_DIR"); runtime != nullptr && *runtime != '\0') {
        folder = std::string(runtime) + "/trigora-simulators";
    } else {
        return std::nullopt;
    }
    mkdir(folder.c_str(), 0700);
    return folder;
}

json readObject(const std::string& fileName) {
    const Descriptor file(pathOf(fileName), O_RDONLY | O_NONBLOCK);
    const std::optional<off_t> size = file.fileSize();
    if (!size || static_cast<std::size_t>(*size) > largestFile) {
        return json::object();
    }
    std::string text(static_cast<std::size_t>(*size), '\0');
    const ssize_t count = read(file.number(), text.data(), text.size());
    text.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    json object = json::parse(text, nullptr, false);
    return object.is_object() ? object : json::object();
}

bool writeObject(const std::string& fileName, const json& object) {
    const std::string path = pathOf(fileName);
    const std::string temporary = path + "." + std::to_string(gettid());
    const bool isWritten =
        !path.empty() && Descriptor(temporary, O_WRONLY | O_CREAT | O_TRUNC).writeAll(dumped(object));
    return isWritten && rename(temporary.c_str(), path.c_str()) == 0;
}

bool isMissing(const std::string& operation) { return contains(settings(), "missing", operation); }

std::int32_t answerCall(const std::string& module, const std::string& operation, json details,
                        std::int32_t usual) {
    const json current = settings();
    const auto delays = current.find("delays");
    const std::int64_t delay = delays == current.end() ? 0 : integerAt(*delays, operation, 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(std::clamp(delay, std::int64_t{0}, longestDelay)));
    const auto result = static_cast<std::int32_t>(integerAt(current, operation, usual));
    json line = journalLine(module, operation, std::move(details));
    line["result"] = result;
    appendToJournal(line);
    return result;
}

void noteCall(const std::string& module, const std::string& operation, json details) {
    appendToJournal(journalLine(module, operation, std::move(details)));
}

std::optional<std::string> textAt(const json& object, const std::string& key) {
    const auto entry = object.find(key);
    return entry != object.end() && entry->is_string() ? std::optional(entry->get<std::string>())
                                                       : std::nullopt;
}

std::int64_t integerAt(const json& object, const std::string& key, std::int64_t byDefault) {
    const auto entry = object.find(key);
    if (entry == object.end()) {
        return byDefault;
    }
    if (entry->is_boolean()) {
        return entry->get<bool>() ? 1 : 0;
    }
    return entry->is_number_integer() ? entry->get<std::int64_t>() : byDefault;
}

bool contains(const json& object, const std::string& key, const std::string& text) {
    const auto list = object.find(key);
    return list != object.end() && list->is_array() &&
           std::find(list->begin(), list->end(), text) != list->end();
}

std::string hexadecimal(const void* bytes, std::size_t count) {
    constexpr const char* digits = "0123456789abcdef";
    const auto* first = static_cast<const std::uint8_t*>(bytes);
    std::string text;
    for (std::size_t i = 0; first != nullptr && i < count; ++i) {
        text += digits[first[i] >> 4U];
        text += digits[first[i] & 0xFU];
    }
    return text;
}

std::optional<std::vector<std::uint8_t>> bytesOf(const std::string& hexadecimal) {
    std::vector<std::uint8_t> bytes;
    for (std::size_t i = 0; i < hexadecimal.size(); i += 2) {
        std::uint8_t byte = 0;
        const char* const pair = hexadecimal.data() + i;
        const std::size_t length = std::min<std::size_t>(hexadecimal.size() - i, 2);
        const auto [end, error] = std::from_chars(pair, pair + length, byte, 16);
        if (error != std::errc() || end != pair + 2) {
            return std::nullopt;
        }
        bytes.push_back(byte);
    }
    return bytes;
}

json textOrNull(const char* text) {
    return text == nullptr ? json(nullptr) : json(std::string(text, strnlen(text, longestText)));
}

} // namespace trigora::simulators
