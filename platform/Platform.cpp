#include "platform/Platform.h"

#include "platform/AppleEvents.h"
#include "platform/Bundles.h"
#include "platform/Desktop.h"
#include "platform/FileSystem.h"
#include "platform/Text.h"

#include <algorithm>
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

void SharedInstances::removeAll() {
    for (;;) {
        std::shared_ptr<void> last;
        const std::lock_guard lock(mutex_);
        if (entries_.empty()) {
            return;
        }
        last = std::move(entries_.back().instance);
        entries_.pop_back();
    }
}

std::shared_ptr<void> SharedInstances::find(std::type_index type) const {
    const auto entry =
        std::find_if(entries_.begin(), entries_.end(), [&](const Entry& e) { return e.type == type; });
    return entry == entries_.end() ? nullptr : entry->instance;
}

std::shared_ptr<void> SharedInstances::take(std::type_index type) {
    const std::lock_guard lock(mutex_);
    const auto entry =
        std::find_if(entries_.begin(), entries_.end(), [&](const Entry& e) { return e.type == type; });
    if (entry == entries_.end()) {
        return nullptr;
    }
    std::shared_ptr<void> instance = std::move(entry->instance);
    entries_.erase(entry);
    return instance;
}

const AppleEventParameter* AppleEvent::parameter(std::uint32_t keyword) const {
    const auto found = std::find_if(parameters.begin(), parameters.end(),
                                    [&](const auto& p) { return p.keyword == keyword; });
    return found == parameters.end() ? nullptr : &*found;
}

std::string mainBundleIdentifier() {
    const std::shared_ptr<Bundle> bundle = current().bundles.mainBundle();
    if (!bundle) {
        return "TrigoraAgent";
    }
    return textAt(bundle->infoDictionary(), "CFBundleIdentifier").value_or(lastPathComponent(bundle->path()));
}

bool isKnownDriver(const std::optional<std::string>& driverName, std::size_t bufferSize) {
    IDConverter& converter = current().idConverter;
    return driverName && converter.hasModelIDWithTwainID() &&
           converter.PS2GetModelIDWithTwainID(*driverName, bufferSize) == 0;
}

std::optional<std::string> firstPreferredLanguage() {
    const std::optional<Value> languages = current().userDefaults.value("AppleLanguages");
    const Array* list = languages ? languages->array() : nullptr;
    if (list == nullptr || list->empty() || list->front().text() == nullptr) {
        return std::nullopt;
    }
    return *list->front().text();
}

std::string displayNameAtPath(const std::string& path) {
    const std::string name = lastPathComponent(path);
    return pathExtension(name) == "app" ? deletingPathExtension(name) : name;
}

} // namespace trigora::platform
