#pragma once

#include <cstdint>

namespace trigora {

/// The first ID of the users' own projects belongs to none: where an event lists the projects that it
/// supports, it stands for them all.
constexpr std::int32_t anyUserProject = 700;
constexpr const char* anyUserProjectID = "700";

/// Whether the number is of a user's own project, or stands for them all.
constexpr bool isUserProject(std::int32_t number) { return number >= anyUserProject && number <= 799; }

} // namespace trigora
