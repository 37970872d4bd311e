#pragma once

#include "platform/Value.h"
#include "tools/frame/Arguments.h"

#include <optional>
#include <ostream>
#include <string>
#include <vector>

namespace trigora::tools {

/// What a command tells that has changed something.
struct ChangeReport {
    std::string sentence;           ///< what is so now
    Dictionary facts;               ///< the same for programs
    std::vector<std::string> notes; ///< what to know besides

    void addNote(const std::optional<std::string>& note);
    /// Prints it as text or, with "--json", as one object of the facts, "notes" and "agent" ("told",
    /// "not running" or "no session bus"). Called once the notification has been posted.
    void print(const Arguments& arguments, std::ostream& out) const;
};

} // namespace trigora::tools
