#pragma once

#include <optional>
#include <string>
#include <vector>

namespace trigora::tools {

/// The file that holds the button bindings of a model (or of none): that of the earlier version while there
/// is none of this one.
std::string bindingsFileInUse(const std::optional<std::string>& modelID);
/// Of the files that hold the button bindings of a model (or of none), those that cannot be read. While
/// there is no file of this version, that of the earlier version counts.
std::vector<std::string> damagedBindingFiles(const std::optional<std::string>& modelID);
/// The same for the settings of the watched folders.
std::vector<std::string> damagedWatchedFolderFiles();
/// What is wrong with such a file and what to do.
std::string damageSentence(const std::string& path);
/// Throws a `SettingsError` when there are damaged files, so that nothing takes their place.
void requireUndamaged(const std::vector<std::string>& damagedFiles);

} // namespace trigora::tools
