#pragma once

#include <memory>
#include <string_view>

namespace trigora {

class TgaActionRunner;
class TrProjectInformation;

/// Which kind of runner serves a project.
struct ActionRunnerChoice {
    std::string_view className; ///< empty when no runner serves it
    std::string_view reason;    ///< what about the project decided, e.g. "type 0x8002 and ID 110"
    /// Makes a runner that still has to be filled; null when no runner serves the project.
    std::shared_ptr<TgaActionRunner> (*make)();
};

/// By type and ID; every project that no rule names gets the launcher.
const ActionRunnerChoice& actionRunnerChoice(const TrProjectInformation& project);

} // namespace trigora
