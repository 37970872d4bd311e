#include "files/PxIniParser.h"

#include "files/StringHelpers.h"
#include "platform/Text.h"

namespace trigora {

std::optional<std::string> PxIniParser::valueWithFilePath(const std::string& path,
                                                          const std::string& sectionString,
                                                          const std::string& keyString) {
    if (!files_.contains(path)) {
        INI_ReadWithPath(path);
    }
    const auto file = files_.find(path);
    if (file == files_.end()) {
        return std::nullopt;
    }
    const auto section = file->second.find(sectionString);
    if (section == file->second.end()) {
        return std::nullopt;
    }
    const auto entry = section->second.find(keyString);
    return entry == section->second.end() ? std::nullopt : std::optional(entry->second);
}

std::vector<std::string> PxIniParser::sectionNamesWithFilePath(const std::string& path) {
    if (!files_.contains(path)) {
        INI_ReadWithPath(path);
    }
    std::vector<std::string> names;
    if (const auto file = files_.find(path); file != files_.end()) {
        for (const auto& [name, entries] : file->second) {
            names.push_back(name);
        }
    }
    return names;
}

KeyedText PxIniParser::entriesWithFilePath(const std::string& path, const std::string& sectionString) {
    if (!files_.contains(path)) {
        INI_ReadWithPath(path);
    }
    const auto file = files_.find(path);
    if (file == files_.end()) {
        return {};
    }
    const auto section = file->second.find(sectionString);
    return section == file->second.end() ? KeyedText() : section->second;
}

void PxIniParser::removeItemAtPath(const std::string& path) { files_.erase(path); }

void PxIniParser::removeAllItems() { files_.clear(); }

void PxIniParser::INI_ReadWithPath(const std::string& path) {
    const std::optional<std::string> text = exStringWithContentsOfFile(path, platform::Encoding::unicode);
    if (!text) {
        return;
    }
    Sections sections;
    for (const std::string& piece : platform::componentsSeparatedByString(*text, "[")) {
        const std::vector<std::string> nameAndBody = platform::componentsSeparatedByString(piece, "]");
        if (nameAndBody.size() == 2) {
            KeyedText& section = sections[nameAndBody[0]];
            section.clear(); // a later section replaces an earlier one of its name whole
            addKeyedText(section, nameAndBody[1]);
        }
    }
    files_[path] = std::move(sections);
}

} // namespace trigora
