#pragma once

#include <exception>
#include <string_view>

namespace trigora::platform {

/// Writes one line to the standard error.
void reportFailure(std::string_view what) noexcept;

/// Calls the function; an exception is reported and goes no further. True when there was none.
template <typename Function> bool guarded(const Function& function) noexcept {
    try {
        function();
        return true;
    } catch (const std::exception& exception) {
        reportFailure(exception.what());
    } catch (...) {
        reportFailure("unknown exception");
    }
    return false;
}

} // namespace trigora::platform
