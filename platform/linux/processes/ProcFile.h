#pragma once

#include <cstdint>
#include <string>

namespace trigora::platform {

/// What the kernel tells of a process in a file such as "stat"; empty when the process has gone or may not be
/// looked at.
std::string procFile(std::int32_t processID, const std::string& name);

} // namespace trigora::platform
