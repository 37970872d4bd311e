#pragma once

#include <exception>
#include <string_view>

namespace trigora::platform {

/// Writes one line to the standard error.
void reportFailure(std::string_view what) noexcept;

/// Calls the function; an exception is told to the second one and goes no further. True when there was none.
template <typename Function, typename Report>
bool guarded(const Function& function, const Report& report) noexcept {
    try {
        function();
        return true;
    } catch (const std::exception& exception) {
        report(exception.what());
    } catch (...) {
        report("unknown exception");
    }
    return false;
}

template <typename Function> bool guarded(const Function& function) noexcept {
    return guarded(function, reportFailure);
}

} // namespace trigora::platform
