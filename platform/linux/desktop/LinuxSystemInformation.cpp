#include "platform/linux/desktop/LinuxSystemInformation.h"

#include "platform/Text.h"

#include <limits>

namespace trigora::platform {

namespace {

constexpr const char* settingsPath = "/Library/Preferences/com.pelox.TrigoraAgent.plist";
constexpr const char* versionKey = "SystemVersion";
constexpr std::int64_t usualVersion = 0x1068;

std::int64_t versionIn(const Dictionary& settings) {
    const std::string text = textAt(settings, versionKey).value_or("");
    if (lowercased(text.substr(0, 2)) == "0x") {
        return hexadecimalValue(text);
    }
    return integerAt(settings, versionKey).value_or(usualVersion);
}

std::int32_t configuredVersion(PropertyLists& propertyLists) {
    const std::optional<Value> settings = propertyLists.read(settingsPath);
    const bool isSet = settings && settings->dictionary() != nullptr;
    const std::int64_t version = isSet ? versionIn(*settings->dictionary()) : usualVersion;
    const bool isVersion = version > 0 && version <= std::numeric_limits<std::int32_t>::max();
    return static_cast<std::int32_t>(isVersion ? version : usualVersion);
}

} // namespace

LinuxSystemInformation::LinuxSystemInformation(PropertyLists& propertyLists)
    : systemVersion_(configuredVersion(propertyLists)) {}

} // namespace trigora::platform
