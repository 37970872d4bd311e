#include "projects/manager/DeviceProjects.h"

#include "catalogue/drivers/TrScannerDriverInformation.h"
#include "files/FileManagerExtension.h"
#include "files/InstalledPaths.h"
#include "files/TrFilePathUtility.h"
#include "platform/Text.h"

namespace trigora {

using platform::appendingPathComponent;

std::optional<std::string> deviceProjectFolder(const TrScannerDriverInformation& driver) {
    if (!driver.isDependency() || !driver.deviceSettingAlias()) {
        return std::nullopt;
    }
    const std::string devices = paths::deviceSettingsFolder();
    std::string device = appendingPathComponent(devices, *driver.deviceSettingAlias());
    if (!itemExistsAtPath(device)) {
        device = appendingPathComponent(devices, "Model" + driver.hexadecimalModelID().value_or(""));
    }
    const std::string projects = appendingPathComponent(device, "AppInfo1");
    const auto country = TrFilePathUtility::sharedFilePathUtility()->currentCountry();
    for (const std::string& language : {country.value_or("en"), std::string("en")}) {
        const std::string folder = appendingPathComponent(projects, language);
        if (itemExistsAtPath(folder)) {
            return folder;
        }
    }
    return std::nullopt;
}

} // namespace trigora
