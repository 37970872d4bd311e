#pragma once

#include <string>

namespace trigora {

/// The name that a project's file and folder get from the project's name, without extension. A project's
/// name is free text, so what would lead out of its folder is replaced: "/" becomes ":", and an empty name,
/// "." and ".." get an underscore in front.
std::string projectFileName(const std::string& projectName);

} // namespace trigora
