#include "tools/settings/ScannerModels.h"

#include "catalogue/drivers/TrScannerDriverInformation.h"
#include "files/InstalledPaths.h"
#include "files/PxIniParser.h"
#include "files/StringHelpers.h"
#include "platform/Text.h"
#include "tools/settings/SettingsError.h"
#include "tools/words/NearMatches.h"
#include "tools/words/Wording.h"

#include <algorithm>
#include <array>
#include <map>

namespace trigora::tools {

namespace {

constexpr std::string_view modelPrefix = "Model";
constexpr const char* addressSection = "Addresses"; ///< the one section that is not a driver
constexpr int modelIDDigits = 4;

/// By name; an entry of the user's counts before the installed one.
std::map<std::string, KnownScanner> knownDrivers() {
    std::map<std::string, KnownScanner> drivers;
    for (const std::string& file : {paths::userScannerDriversFile(), paths::scannerDriversFile()}) {
        for (const std::string& name : PxIniParser::sharedParser()->sectionNamesWithFilePath(file)) {
            if (name == addressSection) {
                continue;
            }
            KnownScanner& driver = drivers[name];
            if (!driver.driverName) {
                driver = {name, std::nullopt, file == paths::userScannerDriversFile()};
            }
            if (!driver.modelID) {
                driver.modelID = modelIDOfDriverEntry(file, name);
            }
        }
    }
    return drivers;
}

std::vector<std::string> modelsWithCapabilities() {
    std::vector<std::string> models;
    for (const std::string& section :
         PxIniParser::sharedParser()->sectionNamesWithFilePath(paths::scannerCapabilityFile())) {
        if (section.starts_with(modelPrefix) && section.size() > modelPrefix.size() &&
            section == modelPrefix.data() + platform::uppercased(section.substr(modelPrefix.size()))) {
            models.push_back(section.substr(modelPrefix.size()));
        }
    }
    return models;
}

std::vector<std::string> knownModels() {
    std::vector<std::string> models;
    for (const KnownScanner& scanner : knownScanners()) {
        if (scanner.modelID && std::ranges::find(models, *scanner.modelID) == models.end()) {
            models.push_back(*scanner.modelID);
        }
    }
    return models;
}

bool isModelID(const std::string& text) {
    return text.size() == modelIDDigits && text != "0000" &&
           text.find_first_not_of("0123456789ABCDEFabcdef") == std::string::npos;
}

} // namespace

std::vector<KnownScanner> knownScanners() {
    std::vector<KnownScanner> scanners;
    for (auto& [name, driver] : knownDrivers()) {
        scanners.push_back(std::move(driver));
    }
    for (const std::string& model : modelsWithCapabilities()) {
        if (std::ranges::none_of(scanners, [&](const auto& known) { return known.modelID == model; })) {
            scanners.push_back({std::nullopt, model, false});
        }
    }
    return scanners;
}

std::optional<std::string> driverNameNote(const std::string& driverName) {
    std::vector<std::string> names;
    for (const auto& [name, driver] : knownDrivers()) {
        names.push_back(name);
    }
    if (std::ranges::find(names, driverName) != names.end()) {
        return std::nullopt;
    }
    return "no entry of ScannerDrivers.ini is named \"" + printable(driverName) +
           "\", so nothing happens unless SANE lists a scanner of this name" + didYouMean(driverName, names);
}

std::shared_ptr<TrScannerDriverInformation> driverOfModel(const std::string& modelID) {
    Dictionary information;
    const std::vector<KnownScanner> scanners = knownScanners();
    const auto known = std::ranges::find(scanners, std::optional(modelID), &KnownScanner::modelID);
    if (known != scanners.end() && known->driverName) {
        information["DriverInfoDrivername"] = *known->driverName;
    }
    auto driver = TrScannerDriverInformation::initWithDriverInformation(information);
    driver->setDeviceInfo(
        Dictionary{{"DeviceInfoModelID", std::int64_t{platform::hexadecimalValue(modelID)}}});
    return driver;
}

std::optional<std::string> modelIDOfDriverEntry(const std::string& file, const std::string& driverName) {
    const auto text = PxIniParser::sharedParser()->valueWithFilePath(file, driverName, "ModelID");
    const std::uint32_t model = text ? platform::hexadecimalValue(*text) : 0;
    return model == 0 ? std::nullopt : std::optional(hexadecimalStringWithValue(model, modelIDDigits));
}

bool hasCapabilities(const std::string& modelID) {
    const std::vector<std::string> models = modelsWithCapabilities();
    return std::ranges::find(models, modelID) != models.end();
}

bool isKnownModel(const std::string& modelID) {
    const std::vector<std::string> models = knownModels();
    return std::ranges::find(models, modelID) != models.end();
}

std::string requireModelID(const std::string& text) {
    if (!isModelID(text)) {
        throw SettingsError(SettingsError::Code::invalid,
                            text + " is no model ID: that is four hexadecimal digits such as 00FE, not 0000",
                            "; trigoractl drivers lists those that are known" +
                                didYouMean(text, knownModels()));
    }
    return platform::uppercased(text);
}

std::optional<std::string> modelOf(const std::shared_ptr<TrScannerDriverInformation>& driver) {
    return driver ? driver->hexadecimalModelID() : std::nullopt;
}

std::optional<std::string> modelNote(const std::shared_ptr<TrScannerDriverInformation>& driver) {
    const std::optional<std::string> model = modelOf(driver);
    if (!model || hasCapabilities(*model)) {
        return std::nullopt;
    }
    return "Nothing is known of model " + *model + ": " + paths::scannerCapabilityFile() +
           " has no entry for it" + didYouMean(*model, knownModels());
}

std::string ofModel(const std::shared_ptr<TrScannerDriverInformation>& driver) {
    return driver ? " of model " + modelOf(driver).value_or("") : std::string();
}

} // namespace trigora::tools
