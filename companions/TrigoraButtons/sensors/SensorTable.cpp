#include "companions/TrigoraButtons/sensors/SensorTable.h"

#include "files/InstalledPaths.h"
#include "files/PxIniParser.h"
#include "platform/Text.h"

#include <algorithm>
#include <array>
#include <utility>

namespace trigora::buttons {

namespace {

constexpr const char* everyBackEnd = "*";
constexpr std::int32_t shortestInterval = 20;
constexpr std::int32_t longestInterval = 60000;

std::vector<std::string> wordsOf(const std::string& value) {
    std::vector<std::string> words = platform::componentsSeparatedByString(value, " ");
    std::erase(words, "");
    return words;
}

/// 0 for what is not a button's number.
std::uint32_t buttonNumber(const std::string& text) {
    const std::int32_t number = platform::integerValue(text);
    return number > 0 ? static_cast<std::uint32_t>(number) : 0;
}

std::optional<SensorKind> kindNamed(std::string_view name) {
    static constexpr std::array kinds{
        std::pair{std::string_view("level"), SensorKind::level},
        std::pair{std::string_view("cleared"), SensorKind::cleared},
        std::pair{std::string_view("latched"), SensorKind::latched},
        std::pair{std::string_view("text"), SensorKind::text},
    };
    const auto found = std::ranges::find(kinds, name, &std::pair<std::string_view, SensorKind>::first);
    return found == kinds.end() ? std::nullopt : std::optional(found->second);
}

/// Fills the buttons of a text in; false when a word is not one with a button.
bool readTextWords(const std::vector<std::string>& words, SensorRow& row) {
    for (auto word = words.begin() + 1; word != words.end(); ++word) {
        const std::size_t colon = word->rfind(':');
        const std::uint32_t button =
            colon == std::string::npos || colon == 0 ? 0 : buttonNumber(word->substr(colon + 1));
        if (button == 0) {
            return false;
        }
        row.words[platform::lowercased(word->substr(0, colon))] = button;
    }
    return !row.words.empty();
}

/// None when the line means nothing.
std::optional<SensorRow> rowOf(const std::string& option, const std::vector<std::string>& words) {
    const std::optional<SensorKind> kind = words.empty() ? std::nullopt : kindNamed(words[0]);
    if (!kind || option.empty()) {
        return std::nullopt;
    }
    SensorRow row;
    row.option = option;
    row.kind = *kind;
    if (*kind == SensorKind::text) {
        return readTextWords(words, row) ? std::optional(row) : std::nullopt;
    }
    row.button = words.size() > 1 ? buttonNumber(words[1]) : 0;
    row.order = words.size() > 2 ? platform::integerValue(words[2]) : static_cast<std::int32_t>(row.button);
    return row.button > 0 ? std::optional(row) : std::nullopt;
}

/// Whether the key is one of the back-end as a whole; those of sensors begin with a small letter.
bool readRule(const std::string& key, const std::string& value, BackEndRules& rules) {
    if (key == "Interval") {
        rules.interval = std::chrono::milliseconds(
            std::clamp(platform::integerValue(value), shortestInterval, longestInterval));
    } else if (key == "ReadTwice") {
        rules.readsTwice = platform::integerValue(value) != 0;
    } else if (key == "Reopen") {
        rules.reopens = platform::integerValue(value) != 0;
    } else {
        return false;
    }
    return true;
}

/// The lines of a back-end, the user's own in the place of the installed ones.
KeyedText linesOf(const std::string& backEnd) {
    const auto parser = PxIniParser::sharedParser();
    KeyedText lines = parser->entriesWithFilePath(paths::userScannerButtonsFile(), backEnd);
    lines.merge(parser->entriesWithFilePath(paths::scannerButtonsFile(), backEnd));
    return lines;
}

} // namespace

SensorTable SensorTable::read() {
    const auto parser = PxIniParser::sharedParser();
    SensorTable table;
    for (const std::string& file : {paths::scannerButtonsFile(), paths::userScannerButtonsFile()}) {
        parser->removeItemAtPath(file);
        for (const std::string& name : parser->sectionNamesWithFilePath(file)) {
            table.backEnds_[name];
        }
    }
    for (auto& [name, backEnd] : table.backEnds_) {
        for (const auto& [key, value] : linesOf(name)) {
            const std::vector<std::string> words = wordsOf(value);
            if (words == std::vector<std::string>{"none"}) {
                backEnd.noButtons.push_back(key);
            } else if (!readRule(key, value, backEnd.rules)) {
                if (const std::optional<SensorRow> row = rowOf(key, words)) {
                    backEnd.rules.rows.push_back(*row);
                } else {
                    std::string& problem = table.problems_.emplace_back("ScannerButtons.ini: \"");
                    problem.append(key).append("=").append(value).append("\" of [").append(name);
                    problem.append("] is not a sensor's line and was passed over");
                }
            }
        }
        std::ranges::stable_sort(backEnd.rules.rows, {}, &SensorRow::order);
    }
    return table;
}

const BackEndRules& SensorTable::rulesOf(const std::string& backEnd) const {
    static const BackEndRules unknown;
    const auto found = backEnds_.find(backEnd);
    return found == backEnds_.end() ? unknown : found->second.rules;
}

bool SensorTable::isNoButton(const std::string& backEnd, const std::string& option) const {
    return std::ranges::any_of(std::array{backEnd, std::string(everyBackEnd)}, [&](const std::string& name) {
        const auto found = backEnds_.find(name);
        return found != backEnds_.end() &&
               std::ranges::find(found->second.noButtons, option) != found->second.noButtons.end();
    });
}

std::string backEndOf(std::string_view device) { return std::string(device.substr(0, device.find(':'))); }

} // namespace trigora::buttons
