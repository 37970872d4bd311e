#pragma once

#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace trigora::platform {

/// Names without "." and "..", in ascending order of their bytes; none when the folder on this disk cannot be
/// listed.
std::optional<std::vector<std::string>> namesIn(const std::string& folder);

/// Visits the same names as they come; false when not all could be listed.
bool visitNamesIn(const std::string& folder, const std::function<void(const char*)>& visit);

} // namespace trigora::platform
