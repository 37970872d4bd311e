#pragma once

#include "tools/frame/Arguments.h"
#include "tools/settings/SettingsChange.h"

#include <ostream>

namespace trigora::tools {

/// Prints what a change has come to, as text or, with "--json", as one object of the facts, "notes" and
/// "agent"
/// ("told", "not running" or "no session bus"). Called once the notification has been posted.
void print(const SettingsChange& change, const Arguments& arguments, std::ostream& out);

} // namespace trigora::tools
