#include "tools/check/CheckScannerFiles.h"

#include "catalogue/drivers/TrScannerDriverInformation.h"
#include "files/InstalledPaths.h"
#include "files/PxIniParser.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"
#include "platform/Text.h"
#include "projects/manager/DeviceProjects.h"
#include "tools/check/CheckTextFile.h"
#include "tools/settings/ProjectCatalogue.h"
#include "tools/settings/ScannerModels.h"
#include "tools/words/Numbers.h"
#include "tools/words/Wording.h"

#include <algorithm>
#include <array>

namespace trigora::tools {

namespace {

constexpr std::string_view modelPrefix = "Model";
constexpr std::size_t modelIDDigits = 4;

bool existsAt(const std::string& path) { return platform::current().fileSystem.exists(path); }

void checkCapabilitiesOfModel(const std::string& section, Findings& findings) {
    const std::string file = paths::scannerCapabilityFile();
    const struct {
        const char* key;
        std::int64_t most;
        const char* consequence;
    } numbers[] = {{"JobDeviceType", 6, "the model's kind is that of a scanner with plain buttons"},
                   {"NumJobEvents", 99, "no settings program offers the right buttons"},
                   {"ModifiedEvent", INT32_MAX, "no bits are taken off the number of a button"},
                   {"ModelDependency", 1, "the model shares its projects with all others"}};
    for (const auto& [key, most, consequence] : numbers) {
        const auto text = valueInFile(file, section.c_str(), key);
        const auto number =
            text ? wholeNumber(platform::trimmed(*text, " \t")) : std::optional<std::int64_t>(0);
        if (!number || *number < 0 || *number > most) {
            findings.push_back({file, "[" + section + "] " + key,
                                "\"" + printable(*text) + "\" is no number from 0 to " + std::to_string(most),
                                consequence});
        }
    }
    const auto driver = driverOfModel(section.substr(modelPrefix.size()));
    const std::string alias = driver->deviceSettingAlias().value_or("");
    if (driver->isDependency() && !alias.empty() && !deviceProjectFolder(*driver)) {
        findings.push_back(
            {file, "[" + section + "] DeviceSettingAlias",
             "there are no projects for \"" + printable(alias) + "\" in " + paths::deviceSettingsFolder(),
             "the model begins without projects of its own"});
    }
}

void checkCapabilities(Findings& findings) {
    const std::string file = paths::scannerCapabilityFile();
    if (!checkSectionFile(file, findings)) {
        return;
    }
    checkLinesOfSections(file, findings);
    for (const std::string& section : PxIniParser::sharedParser()->sectionNamesWithFilePath(file)) {
        const bool isModel =
            section.starts_with(modelPrefix) && section.size() == modelPrefix.size() + modelIDDigits &&
            section.find_first_not_of("0123456789ABCDEF", modelPrefix.size()) == std::string::npos;
        if (isModel) {
            checkCapabilitiesOfModel(section, findings);
        } else {
            findings.push_back({file, "[" + printable(section) + "]",
                                "the section is that of no model: it would be named Model and four "
                                "hexadecimal digits, with capital letters",
                                "nothing in it counts"});
        }
    }
}

void checkDrivers(const std::string& file, Findings& findings) {
    if (!checkSectionFile(file, findings)) {
        return;
    }
    checkLinesOfSections(file, findings);
    for (const std::string& section : PxIniParser::sharedParser()->sectionNamesWithFilePath(file)) {
        const std::string key = "[" + printable(section) + "] ModelID";
        const auto text = valueInFile(file, section.c_str(), "ModelID");
        const std::string digits = platform::trimmed(text.value_or(""), " \t");
        const std::uint32_t model = platform::hexadecimalValue(digits);
        if (digits.empty()) {
            continue;
        }
        const bool isHexadecimal = digits.find_first_not_of("0123456789ABCDEFabcdefxX") == std::string::npos;
        if (!isHexadecimal || model > UINT16_MAX) {
            findings.push_back({file, key,
                                "\"" + printable(*text) + "\" is no model ID of four hexadecimal digits",
                                "the driver counts as one whose model is not known"});
        } else if (const auto modelID = modelIDOfDriverEntry(file, section);
                   modelID && !hasCapabilities(*modelID)) {
            findings.push_back({file, key,
                                paths::scannerCapabilityFile() + " has no section [Model" + *modelID + "]",
                                "the model counts as one with plain buttons and shared projects", true});
        }
    }
}

} // namespace

void checkScannerFiles(Findings& findings) {
    checkCapabilities(findings);
    checkDrivers(paths::scannerDriversFile(), findings);
    if (existsAt(paths::userScannerDriversFile())) {
        checkDrivers(paths::userScannerDriversFile(), findings);
    }
}

} // namespace trigora::tools
