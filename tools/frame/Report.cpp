#include "tools/frame/Report.h"

#include "files/StringHelpers.h"
#include "platform/Formats.h"
#include "platform/Platform.h"
#include "tools/words/Wording.h"

#include <algorithm>

namespace trigora::tools {

namespace {

/// Characters, as far as a terminal shows one in each column.
std::size_t widthOf(const std::string& text) {
    return static_cast<std::size_t>(std::ranges::count_if(
        text, [](char character) { return (static_cast<unsigned char>(character) & 0xC0U) != 0x80U; }));
}

} // namespace

platform::InstallationRoot rootOf(const Arguments& arguments) {
    return platform::InstallationRoot::choose(arguments.text(rootOption.name).value_or(""));
}

std::string maskText(std::int32_t mask) {
    return "0x" + hexadecimalStringWithValue(static_cast<std::uint32_t>(mask), 4);
}

Value valueOrNothing(const std::optional<std::string>& text) { return text ? Value(*text) : Value(); }

void printJson(std::ostream& out, const Value& value) {
    out << platform::current().json.write(value) << '\n';
}

void Table::print(std::ostream& out) const {
    std::vector<std::size_t> widths;
    for (const auto& row : rows_) {
        widths.resize(std::max(widths.size(), row.size()));
        for (std::size_t i = 0; i < row.size(); ++i) {
            widths[i] = std::max(widths[i], widthOf(row[i]));
        }
    }
    for (const auto& row : rows_) {
        std::string line;
        for (std::size_t i = 0; i < row.size(); ++i) {
            line += printable(row[i]) + std::string(widths[i] - widthOf(row[i]) + 2, ' ');
        }
        out << line.substr(0, line.find_last_not_of(' ') + 1) << '\n';
    }
}

} // namespace trigora::tools
