#pragma once

#include "platform/Value.h"

#include <optional>
#include <string>
#include <vector>

namespace trigora::tools {

/// What a change has come to.
struct SettingsChange {
    std::string sentence;           ///< what is so now
    Dictionary facts;               ///< the same for programs
    std::vector<std::string> notes; ///< what to know besides

    void addNote(const std::optional<std::string>& note) {
        if (note) {
            notes.push_back(*note);
        }
    }
};

} // namespace trigora::tools
