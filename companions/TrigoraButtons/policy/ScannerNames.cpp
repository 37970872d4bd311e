#include "companions/TrigoraButtons/policy/ScannerNames.h"

#include "agent/event/ScanEventRecord.h"
#include "files/InstalledPaths.h"
#include "files/PxIniParser.h"
#include "platform/Text.h"

#include <algorithm>

namespace trigora::buttons {

namespace {

std::string vendorAndModel(const FoundScanner& scanner) { return scanner.vendor + ' ' + scanner.model; }

std::optional<std::string> entryValue(const std::string& driverName, const std::string& key) {
    const auto parser = PxIniParser::sharedParser();
    const auto own = parser->valueWithFilePath(paths::userScannerDriversFile(), driverName, key);
    return own ? own : parser->valueWithFilePath(paths::scannerDriversFile(), driverName, key);
}

/// The user's own first.
std::vector<std::string> driverNames() {
    const auto parser = PxIniParser::sharedParser();
    std::vector<std::string> names;
    for (const std::string& file : {paths::userScannerDriversFile(), paths::scannerDriversFile()}) {
        parser->removeItemAtPath(file);
        for (std::string& name : parser->sectionNamesWithFilePath(file)) {
            if (!name.empty() && name.size() <= longestScannerName) {
                names.push_back(std::move(name));
            }
        }
    }
    return names;
}

/// The bus gives a USB scanner another address whenever it is plugged in.
bool isUsb(const std::string& device) { return device.find("usb:") != std::string::npos; }

bool isOnlyUsbScannerOfItsBackEnd(const FoundScanner& scanner, const std::vector<FoundScanner>& attached) {
    const std::string backEnd = backEndOf(scanner.device);
    return isUsb(scanner.device) && std::ranges::count_if(attached, [&](const FoundScanner& other) {
                                        return isUsb(other.device) && backEndOf(other.device) == backEnd;
                                    }) == 1;
}

std::optional<std::string> driverNameInFiles(const FoundScanner& scanner,
                                             const std::vector<FoundScanner>& attached) {
    const std::vector<std::string> names = driverNames();
    const auto first = [&](const auto& condition) {
        const auto found = std::ranges::find_if(names, condition);
        return found == names.end() ? std::nullopt : std::optional(*found);
    };
    const auto deviceOf = [](const std::string& name) { return entryValue(name, "Device").value_or(""); };
    if (auto name = first([&](const std::string& entry) { return deviceOf(entry) == scanner.device; })) {
        return name;
    }
    const std::string wanted = platform::lowercased(vendorAndModel(scanner));
    const bool hasTwin = std::ranges::count_if(attached, [&](const FoundScanner& other) {
                             return platform::lowercased(vendorAndModel(other)) == wanted;
                         }) > 1;
    if (auto name = first([&](const std::string& entry) { return platform::lowercased(entry) == wanted; });
        name && !hasTwin) {
        return name;
    }
    if (!isOnlyUsbScannerOfItsBackEnd(scanner, attached)) {
        return std::nullopt;
    }
    return first([&](const std::string& entry) {
        const std::string device = deviceOf(entry);
        return isUsb(device) && backEndOf(device) == backEndOf(scanner.device);
    });
}

/// One that the scan assistant finds the scanner by without an entry.
std::string proposedDriverName(const FoundScanner& scanner, const std::vector<FoundScanner>& attached) {
    const auto isItsAlone = [&](const std::string& name, const auto& nameOf) {
        return !name.empty() && name.size() <= longestScannerName &&
               std::ranges::count(attached, name, nameOf) <= 1;
    };
    if (isItsAlone(vendorAndModel(scanner), vendorAndModel)) {
        return vendorAndModel(scanner);
    }
    if (isItsAlone(scanner.device, &FoundScanner::device)) {
        return scanner.device;
    }
    if (isItsAlone(scanner.model, &FoundScanner::model)) {
        return scanner.model;
    }
    return std::string(platform::utf8Prefix(vendorAndModel(scanner), longestScannerName));
}

} // namespace

ScannerNames namesOf(const FoundScanner& scanner, const std::vector<FoundScanner>& attached) {
    const std::optional<std::string> inFiles = driverNameInFiles(scanner, attached);
    ScannerNames names;
    names.driverName = inFiles ? *inFiles : proposedDriverName(scanner, attached);
    names.modelName = std::string(platform::utf8Prefix(scanner.model, longestScannerName));
    names.modelID = platform::hexadecimalValue(entryValue(names.driverName, "ModelID").value_or(""));
    names.hasDriverEntry = inFiles.has_value();
    return names;
}

} // namespace trigora::buttons
