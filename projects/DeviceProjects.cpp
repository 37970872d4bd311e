#include "projects/DeviceProjects.h"

#include "catalogue/TrScannerDriverInformation.h"
#include "files/InstalledPaths.h"
#include "files/TrFilePathUtility.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"
#include "platform/Text.h"

namespace trigora {

using platform::appendingPathComponent;

namespace {

bool exists(const std::string& path) { return platform::current().fileSystem.exists(path); }

} // namespace

std::optional<std::string> deviceProjectFolder(const TrScannerDriverInformation& driver) {
    if (!driver.isDependency() || !driver.deviceSettingAlias()) {
        return std::nullopt;
    }
    const std::string devices = paths::deviceSettingsFolder();
    std::string device = appendingPathComponent(devices, *driver.deviceSettingAlias());
    if (!exists(device)) {
        device = appendingPathComponent(devices, "Model" + driver.hexadecimalModelID().value_or(""));
    }
    const std::string projects = appendingPathComponent(device, "AppInfo1");
    const auto country = TrFilePathUtility::sharedFilePathUtility()->currentCountry();
    for (const std::string& language : {country.value_or("en"), std::string("en")}) {
        const std::string folder = appendingPathComponent(projects, language);
        if (exists(folder)) {
            return folder;
        }
    }
    return std::nullopt;
}

} // namespace trigora
