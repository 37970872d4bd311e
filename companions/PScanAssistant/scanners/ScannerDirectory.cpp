#include "companions/PScanAssistant/scanners/ScannerDirectory.h"

#include "files/InstalledPaths.h"
#include "files/PxIniParser.h"
#include "platform/Text.h"

#include <algorithm>
#include <array>
#include <functional>

namespace trigora::companions {

namespace {

// Newer than every version that the scanning application warns about.
constexpr const char* ownVersion = "3.0";
constexpr const char* addressSection = "Addresses";

std::string driverNameOf(const AttachedScanner& scanner) { return scanner.vendor + ' ' + scanner.model; }

bool isAddressOf(const AttachedScanner& scanner, const std::string& address) {
    // The address must stand alone: 10.0.0.1 is not in "net:10.0.0.12".
    const std::size_t at = scanner.device.find(address);
    if (address.empty() || at == std::string::npos) {
        return false;
    }
    const auto belongsToAnother = [&](std::size_t index) {
        const char character = index < scanner.device.size() ? scanner.device[index] : '/';
        return (character >= '0' && character <= '9') || character == '.';
    };
    return !(at > 0 && belongsToAnother(at - 1)) && !belongsToAnother(at + address.size());
}

/// Whether they are USB devices of one back-end, as "genesys:libusb:001:004" and "genesys:libusb:001:005".
bool areAlike(const std::string& device, const std::string& other) {
    const auto backEnd = [](const std::string& name) { return name.substr(0, name.find(':')); };
    const auto isUsb = [](const std::string& name) { return name.find("usb:") != std::string::npos; };
    return isUsb(device) && isUsb(other) && backEnd(device) == backEnd(other);
}

std::optional<std::string> deviceOf(const std::vector<AttachedScanner>& scanners, const DriverEntry& entry) {
    if (std::ranges::find(scanners, entry.device, &AttachedScanner::device) != scanners.end()) {
        return entry.device;
    }
    const std::string wanted = platform::lowercased(entry.driverName);
    const std::array<std::function<bool(const AttachedScanner&)>, 4> rules{
        [&](const AttachedScanner& scanner) { return scanner.device == entry.driverName; },
        [&](const AttachedScanner& scanner) { return platform::lowercased(driverNameOf(scanner)) == wanted; },
        [&](const AttachedScanner& scanner) { return platform::lowercased(scanner.model) == wanted; },
        [&](const AttachedScanner& scanner) { return isAddressOf(scanner, entry.address); },
    };
    for (const auto& rule : rules) {
        const auto found = std::ranges::find_if(scanners, rule);
        if (found != scanners.end()) {
            return found->device;
        }
    }
    const auto isAlike = [&](const AttachedScanner& scanner) {
        return areAlike(scanner.device, entry.device);
    };
    const auto found = std::ranges::find_if(scanners, isAlike);
    const bool isOnlyOne = std::ranges::count_if(scanners, isAlike) == 1;
    return isOnlyOne ? std::optional(found->device) : std::nullopt;
}

} // namespace

std::optional<std::string> ScannerDirectory::value(const std::string& section, const std::string& key) const {
    const auto parser = PxIniParser::sharedParser();
    const std::optional<std::string> own =
        parser->valueWithFilePath(paths::userScannerDriversFile(), section, key);
    return own ? own : parser->valueWithFilePath(paths::scannerDriversFile(), section, key);
}

DriverEntry ScannerDirectory::entry(const std::string& driverName, const std::string& address) const {
    DriverEntry entry;
    entry.driverName = driverName;
    entry.address = address;
    entry.device = value(driverName, "Device").value_or("");
    entry.modelID = platform::hexadecimalValue(value(driverName, "ModelID").value_or(""));
    entry.version = value(driverName, "Version").value_or(ownVersion);
    return entry;
}

std::optional<std::string> ScannerDirectory::driverNameAtAddress(const std::string& address) const {
    return value(addressSection, address);
}

void ScannerDirectory::reload() { PxIniParser::sharedParser()->removeAllItems(); }

std::unique_ptr<Scanner> openScanner(Scanners& scanners, const DriverEntry& entry, ScanFailure& failure) {
    ScannerRefusal refusal;
    std::unique_ptr<Scanner> scanner = entry.device.empty() ? nullptr : scanners.open(entry.device, refusal);
    if (scanner) {
        return scanner;
    }
    std::optional<std::string> device = entry.device;
    // One that is in use is there under its name: nobody needs to look for it.
    if (entry.device.empty() || refusal.status != ScannerStatus::busy) {
        device = deviceOf(scanners.list(), entry);
        if (device && *device != entry.device) {
            scanner = scanners.open(*device, refusal);
        }
    }
    if (scanner) {
        return scanner;
    }
    if (!device && entry.device.empty()) {
        failure = {ScanFailure::Kind::notFound,
                   "no scanner is found for the driver \"" + entry.driverName + '"'};
        return nullptr;
    }
    const bool isBusy = refusal.status == ScannerStatus::busy;
    failure = {isBusy    ? ScanFailure::Kind::busy
               : !device ? ScanFailure::Kind::notFound
                         : ScanFailure::Kind::cannotOpen,
               "the scanner " + device.value_or(entry.device) + " cannot be opened: " + refusal.reason};
    return nullptr;
}

std::optional<std::string> driverNameFoundAtAddress(Scanners& scanners, const std::string& address) {
    const std::vector<AttachedScanner> found = scanners.list();
    const auto scanner =
        std::ranges::find_if(found, [&](const auto& candidate) { return isAddressOf(candidate, address); });
    return scanner == found.end() ? std::nullopt : std::optional(driverNameOf(*scanner));
}

} // namespace trigora::companions
