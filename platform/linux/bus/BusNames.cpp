#include "platform/linux/bus/BusNames.h"

#include <cstdio>

namespace trigora::platform::bus {

std::string signatureName(std::uint32_t signature) {
    char digits[9];
    std::snprintf(digits, sizeof digits, "%08x", signature);
    return std::string("com.pelox.signature.x") + digits;
}

std::string processName(std::int32_t processID) { return "com.pelox.process.p" + std::to_string(processID); }

std::string nameOf(const AppleEventTarget& target) {
    if (const auto* signature = std::get_if<SignatureTarget>(&target)) {
        return signatureName(signature->signature);
    }
    return processName(std::get<ProcessTarget>(target).processID);
}

} // namespace trigora::platform::bus
