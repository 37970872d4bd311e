#pragma once

#include "files/KeyedText.h"
#include "platform/Platform.h"

#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace trigora {

/// Reads INI files: sections headed by a name in square brackets, with key=value lines below. There are no
/// comments, no quoting and no trimming, and a bracket inside a value breaks its section. Encodings and
/// caching are those of the definition files, but a readable file without sections is remembered, too.
/// Main thread only.
class PxIniParser {
public:
    static std::shared_ptr<PxIniParser> sharedParser() { return platform::shared<PxIniParser>(); }

    /// None where the file, the section or the key is missing. Names compare exactly.
    std::optional<std::string> valueWithFilePath(const std::string& path, const std::string& sectionString,
                                                 const std::string& keyString);
    /// The names of the file's sections in ascending order; empty where the file cannot be read.
    std::vector<std::string> sectionNamesWithFilePath(const std::string& path);
    /// All entries of a section; empty where the file or the section is missing.
    KeyedText entriesWithFilePath(const std::string& path, const std::string& sectionString);
    void removeItemAtPath(const std::string& path);
    void removeAllItems();

private:
    using Sections = std::map<std::string, KeyedText>;

    /// Puts the file into the cache, if it can be read.
    void INI_ReadWithPath(const std::string& path);

    std::map<std::string, Sections> files_; ///< by path
};

} // namespace trigora
