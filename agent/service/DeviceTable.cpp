#include "agent/service/DeviceTable.h"

#include "files/InstalledPaths.h"
#include "files/StringHelpers.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"
#include "platform/Text.h"

#include <cstdint>
#include <string_view>

namespace trigora {

namespace {

// A device table beyond these is not a device table but a damaged file.
constexpr std::uint64_t sizeLimit = 1U << 20;
constexpr std::size_t rowLimit = 20000;

} // namespace

std::optional<DeviceTable> readDeviceTable() {
    const auto attributes = platform::current().fileMetadata.attributes(paths::deviceTableFile(), true);
    if (!attributes || attributes->size > sizeLimit) {
        return std::nullopt;
    }
    const auto text = exStringWithContentsOfFile(paths::deviceTableFile(), platform::Encoding::utf8);
    if (!text) {
        return std::nullopt;
    }
    const std::vector<std::string> keyList{
        "TwainName", "InterDevicename", "JpDevicename", "NavBtnNum", "NavBtn1", "NavBtn2", "NavBtn3",
        "NavBtn4",   "NavBtn5",         "NavBtn6",      "NavBtn7",   "NavBtn8", "NavBtn9", "NavBtn10"};
    const std::vector<std::string> lines = componentsSeparatedByParagraph(*text);
    if (lines.size() > rowLimit) {
        return std::nullopt;
    }
    DeviceTable rows;
    rows.reserve(lines.size());
    for (const std::string& line : lines) {
        rows.push_back(SM_ConvertDevInfoDictionaryFromString(line, keyList));
    }
    return rows;
}

Dictionary SM_ConvertDevInfoDictionaryFromString(const std::string& line,
                                                 const std::vector<std::string>& keyList) {
    constexpr std::string_view buttonPrefix = "NavBtn";
    const std::vector<std::string> fields = platform::componentsSeparatedByString(line, ",");
    Dictionary row;
    for (std::size_t column = 0; column < keyList.size(); ++column) {
        const std::string& key = keyList[column];
        std::optional<std::string> field;
        if (column < fields.size()) {
            field = platform::trimmed(fields[column], "\"");
        }
        if (key.starts_with(buttonPrefix)) {
            // A missing button stands for itself; of "NavBtnNum" there is no number left, which reads as 0.
            row[key] = platform::integerValue(field ? *field : key.substr(buttonPrefix.size()));
        } else if (field) {
            row[key] = std::move(*field);
        }
    }
    return row;
}

} // namespace trigora
