#include "platform/linux/desktop/LinuxSystemInformation.h"

#include "platform/Text.h"

#include <limits>

namespace trigora::platform {

namespace {

constexpr const char* settingsPath = "/Library/Preferences/com.pelox.TrigoraAgent.plist";
constexpr const char* versionKey = "SystemVersion";
constexpr const char* newerDriverKey = "NewerDriver";
constexpr std::int64_t usualVersion = 0x1068;

std::int64_t versionIn(const Dictionary& settings) {
    const std::string text = textAt(settings, versionKey).value_or("");
    if (lowercased(text.substr(0, 2)) == "0x") {
        return hexadecimalValue(text);
    }
    return integerAt(settings, versionKey).value_or(usualVersion);
}

Dictionary settingsOfInstallation(PropertyLists& propertyLists) {
    const std::optional<Value> settings = propertyLists.read(settingsPath);
    return settings && settings->dictionary() != nullptr ? *settings->dictionary() : Dictionary();
}

std::int32_t configuredVersion(const Dictionary& settings) {
    const std::int64_t version = versionIn(settings);
    const bool isVersion = version > 0 && version <= std::numeric_limits<std::int32_t>::max();
    return static_cast<std::int32_t>(isVersion ? version : usualVersion);
}

} // namespace

LinuxSystemInformation::LinuxSystemInformation(PropertyLists& propertyLists)
    : LinuxSystemInformation(settingsOfInstallation(propertyLists)) {}

LinuxSystemInformation::LinuxSystemInformation(const Dictionary& settings)
    : systemVersion_(configuredVersion(settings)),
      isNewerDriverInstalled_(booleanAt(settings, newerDriverKey).value_or(true)) {}

} // namespace trigora::platform
