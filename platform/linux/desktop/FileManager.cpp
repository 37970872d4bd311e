#include "platform/linux/desktop/FileManager.h"

#include <cstdint>
#include <cstdlib>
#include <string_view>

namespace trigora::platform {

namespace {

constexpr const char* name = "org.freedesktop.FileManager1";
constexpr const char* object = "/org/freedesktop/FileManager1";
/// The daemon itself answers at once.
constexpr std::uint64_t daemonTimeOut = 2000000; // microseconds

std::string fileAddress(const std::string& path) {
    static constexpr std::string_view plain =
        "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789-._~/";
    static constexpr std::string_view digits = "0123456789ABCDEF";
    std::string address = "file://";
    for (const char character : path) {
        if (plain.find(character) != std::string_view::npos) {
            address += character;
        } else {
            const auto byte = static_cast<std::uint8_t>(character);
            address += {'%', digits[byte >> 4], digits[byte & 0xF]};
        }
    }
    return address;
}

} // namespace

bool FileManager::show(const std::string& path) {
    const std::lock_guard lock(mutex_);
    if (bus_ && sd_bus_process(bus_.get(), nullptr) < 0) {
        bus_.reset(); // the session's bus has been another since
    }
    if (!bus_) {
        sd_bus* made = nullptr;
        const int result = sd_bus_open_user(&made);
        bus_.reset(made);
        if (result < 0) {
            bus_.reset();
            return false;
        }
        sd_bus_set_method_call_timeout(made, daemonTimeOut);
    }
    if (!isThere()) {
        return false;
    }
    const int result = sd_bus_call_method_async(bus_.get(), nullptr, name, object, name, "ShowItems", nullptr,
                                                nullptr, "ass", 1, fileAddress(path).c_str(), "");
    return result >= 0 && sd_bus_flush(bus_.get()) >= 0;
}

bool FileManager::isThere() {
    char** owned = nullptr;
    char** startable = nullptr;
    sd_bus_list_names(bus_.get(), &owned, &startable);
    bool isFound = false;
    for (char** const list : {owned, startable}) {
        for (char** found = list; found != nullptr && *found != nullptr; ++found) {
            isFound = isFound || std::string_view(*found) == name;
            std::free(*found);
        }
        std::free(list);
    }
    return isFound;
}

} // namespace trigora::platform
