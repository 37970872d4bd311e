#include "platform/linux/processes/SessionBusAddress.h"

#include "platform/Text.h"

#include <algorithm>
#include <cstdlib>

namespace trigora::platform {

namespace {

constexpr const char* addressVariable = "DBUS_SESSION_BUS_ADDRESS";
constexpr const char* runtimeFolderVariable = "XDG_RUNTIME_DIR";

std::string addressFrom(std::string_view address, std::string_view runtimeFolder) {
    if (!address.empty()) {
        return std::string(address);
    }
    return runtimeFolder.empty() ? std::string() : "unix:path=" + std::string(runtimeFolder) + "/bus";
}

std::string_view textOrEmpty(const char* text) { return text == nullptr ? std::string_view() : text; }

std::string_view variableIn(std::string_view environment, std::string_view name) {
    while (!environment.empty()) {
        const std::string_view entry = environment.substr(0, environment.find('\0'));
        if (entry.starts_with(name) && entry.substr(name.size()).starts_with('=')) {
            return entry.substr(name.size() + 1);
        }
        environment.remove_prefix(std::min(entry.size() + 1, environment.size()));
    }
    return {};
}

} // namespace

std::string sessionBusAddress() {
    return addressFrom(textOrEmpty(std::getenv(addressVariable)),
                       textOrEmpty(std::getenv(runtimeFolderVariable)));
}

std::string sessionBusAddress(std::string_view environment) {
    return addressFrom(variableIn(environment, addressVariable),
                       variableIn(environment, runtimeFolderVariable));
}

std::string withoutServerID(std::string_view address) {
    std::string kept;
    for (const std::string& part : componentsSeparatedByString(address, ",")) {
        if (!part.starts_with("guid=")) {
            kept += (kept.empty() ? "" : ",") + part;
        }
    }
    return kept;
}

} // namespace trigora::platform
