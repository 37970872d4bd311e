#include "platform/Guarded.h"

#include <cerrno>
#include <cstdio>

namespace trigora::platform {

void reportFailure(std::string_view what) noexcept {
    std::fprintf(stderr, "%s: %.*s\n", program_invocation_short_name, static_cast<int>(what.size()),
                 what.data());
}

} // namespace trigora::platform
