#pragma once

#include "platform/Value.h"
#include "platform/linux/files/InstallationRoot.h"
#include "tools/frame/Arguments.h"

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

/// How commands print: text for people, or one JSON object for programs.
namespace trigora::tools {

// Options that many commands have.
constexpr Option jsonOption{"json", "", "one JSON object for programs instead of text"};
constexpr Option rootOption{"root", "DIR",
                            "where the system is installed (default: TRIGORA_ROOT, else this tool's place, "
                            "else /)"};

/// The text, or nothing for none.
Value valueOrNothing(const std::optional<std::string>& text);

/// Bits of an event's kind, e.g. "0x4000".
std::string maskText(std::int32_t mask);

/// The longest time that anything here waits for.
constexpr std::int64_t secondsOfDay = 86400;

/// Where the system is installed: the root that the command line, TRIGORA_ROOT or the place of this program
/// gives.
platform::InstallationRoot rootOf(const Arguments& arguments);

/// Prints a value as one line of JSON.
void printJson(std::ostream& out, const Value& value);

/// Rows of text in columns that are as wide as their widest cell.
class Table {
public:
    explicit Table(std::vector<std::string> headings) { rows_.push_back(std::move(headings)); }

    void add(std::vector<std::string> row) { rows_.push_back(std::move(row)); }
    bool isEmpty() const { return rows_.size() < 2; }
    void print(std::ostream& out) const;

private:
    std::vector<std::vector<std::string>> rows_;
};

} // namespace trigora::tools
