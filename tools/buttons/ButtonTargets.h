#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace trigora::tools {

/// What the press of a button would run.
struct ButtonTarget {
    std::optional<std::string> eventID;   ///< none when no press of the driver gets that far
    std::optional<std::string> projectID; ///< none when it would run nothing
    std::string project;                  ///< its name, or why there is none
};

/// The model ID is hexadecimal, empty for none. Rehearses the press; a `SettingsSession` must be there.
ButtonTarget targetOfButton(const std::string& driver, const std::string& model, const std::string& modelID,
                            std::uint32_t button);

} // namespace trigora::tools
