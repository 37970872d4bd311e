#include "files/PxDefParser.h"

#include "files/StringHelpers.h"
#include "platform/FileSystem.h"

namespace trigora {

std::optional<std::string> PxDefParser::valueWithFilePath(const std::string& path,
                                                          const std::string& keyString) {
    const KeyedText* file = fileAtPath(path);
    if (file == nullptr) {
        return std::nullopt;
    }
    const auto entry = file->find(keyString);
    return entry == file->end() ? std::nullopt : std::optional(entry->second);
}

std::optional<KeyedText> PxDefParser::fileContentsWithPath(const std::string& path) {
    const KeyedText* file = fileAtPath(path);
    return file == nullptr ? std::nullopt : std::optional(*file);
}

void PxDefParser::removeItemAtPath(const std::string& path) { mutableDictionary_DefFileMap.erase(path); }

void PxDefParser::removeAllItems() { mutableDictionary_DefFileMap.clear(); }

const KeyedText* PxDefParser::fileAtPath(const std::string& path) {
    if (const auto cached = mutableDictionary_DefFileMap.find(path);
        cached != mutableDictionary_DefFileMap.end()) {
        return &cached->second;
    }
    std::optional<KeyedText> read = DP_ReadDefFileWithPath(path);
    return read ? &(mutableDictionary_DefFileMap[path] = std::move(*read)) : nullptr;
}

std::optional<KeyedText> PxDefParser::DP_ReadDefFileWithPath(const std::string& path) {
    if (!platform::current().fileSystem.exists(path)) {
        return std::nullopt;
    }
    const std::optional<std::string> text = exStringWithContentsOfFile(path, platform::Encoding::unicode);
    KeyedText keys;
    if (text) {
        DP_SetObjectAndKeys(keys, *text);
    }
    return keys.empty() ? std::nullopt : std::optional(std::move(keys));
}

void PxDefParser::DP_SetObjectAndKeys(KeyedText& keys, const std::string& defString) {
    addKeyedText(keys, defString);
}

} // namespace trigora
