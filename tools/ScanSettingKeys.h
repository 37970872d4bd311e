#pragma once

#include "platform/Value.h"

#include <optional>
#include <span>
#include <string>
#include <vector>

namespace trigora {
struct ScanSetting;
}

namespace trigora::tools {

/// What is wrong with a value that scan settings hold; none when the system would read it as it is.
std::optional<std::string> problemOfScanSetting(const ScanSetting& setting, const Value& value);

struct ScanSettingChange {
    const ScanSetting* setting = nullptr;
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
