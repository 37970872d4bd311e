#pragma once

#include "platform/Value.h"

#include <optional>
#include <string>
#include <vector>

namespace trigora {
struct ScanSetting;
}

namespace trigora::tools {

/// What a user may write, e.g. "1 to 9600" or "yes or no".
std::string allowedValues(const ScanSetting& setting);
/// What is wrong with a value that scan settings hold; none when the system would read it as it is.
std::optional<std::string> problemOfScanSetting(const ScanSetting& setting, const Value& value);

struct ScanSettingChange {
    const ScanSetting* setting = nullptr;
    std::optional<Value> value; ///< none takes the entry out
};
using ScanSettingChanges = std::vector<ScanSettingChange>;

/// Reads what a user wrote for a key. Throws a `SettingsError` that says what is allowed.
ScanSettingChange readScanSettingChange(const std::string& key, const std::string& text);

/// An absolute path for a folder that a user wrote: "~" is the home folder, other paths begin in the current
/// folder. Throws a `SettingsError` when there is no such folder.
std::string existingFolder(const std::string& path);

} // namespace trigora::tools
