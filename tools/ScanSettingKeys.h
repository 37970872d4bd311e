#pragma once

#include "platform/Value.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace trigora::tools {

/// One entry of a project's scan settings: what a user may write for it.
struct ScanSettingKey {
    enum class Kind {
        number, ///< from `least` to `most`, or one of the names, which count from `least`
        flag,   ///< yes or no
        text,
        folder, ///< an existing folder
        fixed,  ///< kept by the system itself
    };

    std::string_view name;
    Kind kind = Kind::text;
    std::string_view meaning;
    std::int64_t least = 0;
    std::int64_t most = 0;
    std::span<const std::string_view> names = {};
    /// Whether an empty value takes the entry out.
    bool isRemovable = false;
};

/// All entries that scan settings have.
std::span<const ScanSettingKey> scanSettingKeys();

/// What is wrong with a value that scan settings hold; none when the system would read it as it is.
std::optional<std::string> problemOfScanSetting(const ScanSettingKey& key, const Value& value);

struct ScanSettingChange {
    const ScanSettingKey* key = nullptr;
    std::optional<Value> value; ///< none takes the entry out
};

/// Reads "KEY=VALUE" words. Throws a `Failure` that says what is allowed.
std::vector<ScanSettingChange> readScanSettingChanges(std::span<const std::string> words);

/// The keys with their allowed values, as the help shows them.
const std::string& scanSettingHelp();

/// An absolute path for a folder that a user wrote: "~" is the home folder, other paths begin in the current
/// folder. Throws a `Failure` when there is no such folder.
std::string existingFolder(const std::string& path);

} // namespace trigora::tools
