#include "platform/linux/bus/BusNames.h"

#include "platform/Text.h"

#include <cstdio>

namespace trigora::platform::bus {

namespace {

const std::string processPrefix = "com.pelox.process.p";

} // namespace

std::string signatureName(std::uint32_t signature) {
    char digits[9];
    std::snprintf(digits, sizeof digits, "%08x", signature);
    return std::string("com.pelox.signature.x") + digits;
}

std::string processName(std::int32_t processID) { return processPrefix + std::to_string(processID); }

std::optional<std::int32_t> processIDIn(std::string_view name) {
    if (!name.starts_with(processPrefix)) {
        return std::nullopt;
    }
    const std::int32_t processID = integerValue(name.substr(processPrefix.size()));
    return processName(processID) == name ? std::optional(processID) : std::nullopt;
}

std::string nameOf(const AppleEventTarget& target) {
    if (const auto* signature = std::get_if<SignatureTarget>(&target)) {
        return signatureName(signature->signature);
    }
    const auto* process = std::get_if<ProcessTarget>(&target);
    return process != nullptr ? processName(process->processID) : agentName;
}

} // namespace trigora::platform::bus
