#pragma once

#include "agent/PSlog.h"

#include <exception>
#include <utility>

namespace trigora {

/// Runs what the bus or the loop has called us for. Nothing that it throws goes further: it is logged under
/// the given name, and the agent stays ready for the next event. True when nothing was thrown.
template <typename Work> bool guarded(const char* name, Work&& work) noexcept {
    try {
        std::forward<Work>(work)();
        return true;
    } catch (const std::exception& error) {
        PSlog("%s [Line %d] exception = %s", name, __LINE__, error.what());
    } catch (...) {
        PSlog("%s [Line %d] exception", name, __LINE__);
    }
    return false;
}

} // namespace trigora
