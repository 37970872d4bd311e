#pragma once

#include "agent/log/PSlog.h"
#include "platform/Guarded.h"

#include <utility>

namespace trigora {

/// Runs what the bus or the loop has called us for. Nothing that it throws goes further: it is logged under
/// the given name with the caller's line, and the agent stays ready for the next event. True when nothing was
/// thrown.
template <typename Work>
bool guarded(const char* name, const Work& work, int callersLine = __builtin_LINE()) noexcept {
    return platform::guarded(
        work, [&](const char* what) { PSlog("%s [Line %d] exception = %s", name, callersLine, what); });
}

/// The same for work with a result; the other value when something was thrown.
template <typename Work, typename Result>
Result guardedResult(const char* name, Result otherwise, const Work& work,
                     int callersLine = __builtin_LINE()) noexcept {
    Result result = std::move(otherwise);
    guarded(
        name, [&] { result = work(); }, callersLine);
    return result;
}

} // namespace trigora
