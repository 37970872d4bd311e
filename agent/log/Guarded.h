#pragma once

#include "agent/log/PSlog.h"
#include "platform/Guarded.h"

namespace trigora {

/// Runs what the bus or the loop has called us for. Nothing that it throws goes further: it is logged under
/// the given name with the caller's line, and the agent stays ready for the next event. True when nothing was
/// thrown.
template <typename Work>
bool guarded(const char* name, const Work& work, int callersLine = __builtin_LINE()) noexcept {
    return platform::guarded(
        work, [&](const char* what) { PSlog("%s [Line %d] exception = %s", name, callersLine, what); });
}

} // namespace trigora
