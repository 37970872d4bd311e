#include "platform/Platform.h"

#include <atomic>
#include <cstdio>
#include <cstdlib>

namespace trigora::platform {

namespace {
std::atomic<Platform*> installed = nullptr;
}

Platform& current() {
    Platform* platform = installed.load(std::memory_order_acquire);
    if (platform == nullptr) {
        std::fputs("the platform was used before it was installed\n", stderr);
        std::abort();
    }
    return *platform;
}

void install(Platform* platform) { installed.store(platform, std::memory_order_release); }

} // namespace trigora::platform
