#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace trigora::platform {

/// The path of the file that a process runs: its executable, or the script that its interpreter was started
/// for by the script's first line ("#!"). None for processes that may not be looked at.
std::optional<std::string> runningProgram(std::int32_t processID);

/// Whether that file can have the name; quicker than looking for the file.
bool mayRunProgram(std::int32_t processID, const std::string& name);

} // namespace trigora::platform
