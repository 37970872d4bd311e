#pragma once

#include "tools/buttons/ButtonSight.h"

#include <functional>
#include <vector>

namespace trigora::tools {

/// Something that stands between a button and its project, and what to do about it.
struct ButtonFinding {
    std::string scanner; ///< its driver name; empty for what concerns all
    std::string problem;
    std::string remedy;
};

/// What the doctor asks the system.
struct ButtonCircumstances {
    bool isAgentRunning = false;
    std::vector<std::string> otherDaemons; ///< names of running programs that watch buttons, too
    /// Who has a device node open, as "name (process ID)"; those of other users cannot be seen.
    std::function<std::vector<std::string>(const std::string& node)> usersOfNode;
    /// Such as "owner root, group scanner, mode 0664"; empty when there is no such node.
    std::function<std::string(const std::string& node)> rightsOfNode;
    std::string userTableFile; ///< as the user writes it
};
ButtonCircumstances presentCircumstances();

/// In the order in which they are best mended.
std::vector<ButtonFinding> findButtonProblems(const ButtonSight& sight, const ButtonCircumstances& present);

} // namespace trigora::tools
