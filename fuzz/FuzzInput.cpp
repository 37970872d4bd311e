#include "fuzz/FuzzInput.h"

#include <cstdio>
#include <cstdlib>

namespace trigora::fuzz {

void require(bool condition, const char* what) {
    if (!condition) {
        std::fprintf(stderr, "does not hold: %s\n", what);
        std::abort();
    }
}

} // namespace trigora::fuzz
