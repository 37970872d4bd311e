#pragma once

#include <cstdint>
#include <set>
#include <string>

namespace trigora::buttons {

/// Whether a process that is not this one and none of the given has the node open. Processes of other users
/// cannot be seen.
bool isNodeUsed(const std::string& node, const std::set<std::int32_t>& exceptBy);

} // namespace trigora::buttons
