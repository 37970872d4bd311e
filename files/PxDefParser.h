#pragma once

#include "files/KeyedText.h"
#include "platform/Platform.h"

#include <map>
#include <memory>
#include <optional>
#include <string>

namespace trigora {

/// Reads definition files: flat files of key=value lines without comments, quoting or trimming, in UTF-16
/// with a byte-order mark or the system's eight-bit encoding. A file is read once; a change on disk is seen
/// only after its path has been removed from the cache. A file that is missing, unreadable or without
/// entries is not remembered, but looked for again on every call. Main thread only.
class PxDefParser {
public:
    static std::shared_ptr<PxDefParser> sharedDefParser() { return platform::shared<PxDefParser>(); }

    /// None when there is no such file or no such key.
    std::optional<std::string> valueWithFilePath(const std::string& path, const std::string& keyString);
    /// The whole file; none when it is missing, unreadable or has no entry.
    std::optional<KeyedText> fileContentsWithPath(const std::string& path);
    void removeItemAtPath(const std::string& path);
    void removeAllItems();

private:
    /// The cached file, which is read first if need be; null for one that holds nothing.
    const KeyedText* fileAtPath(const std::string& path);
    static std::optional<KeyedText> DP_ReadDefFileWithPath(const std::string& path);
    /// Adds the entries that the text of a file holds.
    static void DP_SetObjectAndKeys(KeyedText& keys, const std::string& defString);

    std::map<std::string, KeyedText> mutableDictionary_DefFileMap; ///< by path
};

} // namespace trigora
