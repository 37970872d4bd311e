#include "companions/PScanAssistant/scanners/DeviceInformation.h"

#include "companions/PScanAssistant/scanners/ScannerSetup.h"

#include <algorithm>
#include <cmath>

namespace trigora::companions {

namespace {

constexpr double millimetresPerInch = 25.4;
constexpr double tenths = 10.0;

struct Range {
    double least = 0;
    double most = 0;
};

Range rangeOf(const ScannerOption* option) {
    if (option == nullptr) {
        return {};
    }
    if (!option->numbers.empty()) {
        const auto [least, most] = std::ranges::minmax(option->numbers);
        return {least, most};
    }
    return {option->least.value_or(0), option->most.value_or(0)};
}

std::int64_t whole(double number) { return std::llround(std::clamp(number, -1e9, 1e9)); }

/// How far an edge can go, in tenths of a millimetre. Edges in pixels are taken at the present resolution.
std::int64_t extent(Scanner& scanner, const std::string& edge) {
    const std::vector<ScannerOption> options = scanner.options();
    const ScannerOption* option = settableOption(options, edge);
    double most = rangeOf(option).most;
    if (option != nullptr && option->unit == ScannerOption::Unit::pixels) {
        const std::optional<ScannerValue> value = resolutionOption(options) != nullptr
                                                      ? scanner.value(resolutionOption(options)->name)
                                                      : std::nullopt;
        const double* resolution = value ? std::get_if<double>(&*value) : nullptr;
        most = resolution != nullptr && *resolution > 0 ? most / *resolution * millimetresPerInch : 0;
    }
    return whole(most * tenths);
}

void addArea(Scanner& scanner, bool exists, DocumentSource source, const std::string& name,
             Dictionary& information) {
    const bool chosen = exists && chooseSource(scanner, source);
    information["DeviceInfo" + name + "ScanAreaWidth"] = chosen ? extent(scanner, "br-x") : std::int64_t{0};
    information["DeviceInfo" + name + "ScanAreaHeight"] = chosen ? extent(scanner, "br-y") : std::int64_t{0};
}

} // namespace

Dictionary deviceInformation(Scanner& scanner, const DriverEntry& entry) {
    const PaperPaths paths = paperPaths(scanner);
    const std::vector<ScannerOption> options = scanner.options();
    const Range horizontal = rangeOf(resolutionOption(options));
    const ScannerOption* verticalOption = settableOption(options, "y-resolution");
    const Range vertical = verticalOption != nullptr ? rangeOf(verticalOption) : horizontal;
    Dictionary information{
        {"DeviceInfoModelID", static_cast<std::int64_t>(entry.modelID)},
        {"DeviceInfoEnableFlat", paths.hasTable},
        {"DeviceInfoEnableADF", paths.hasFeeder},
        {"DeviceInfoEnableDuplex", paths.hasDuplexFeeder},
        {"DeviceInfoIsADFHasPaper", paths.feederHasPaper.value_or(false)},
        {"DeviceInfoXdpiMin", whole(horizontal.least)},
        {"DeviceInfoXdpiMax", whole(horizontal.most)},
        {"DeviceInfoYdpiMin", whole(vertical.least)},
        {"DeviceInfoYdpiMax", whole(vertical.most)},
        {"DeviceInfoIsSupportNoneUI", true},
        {"DeviceInfoIsRunICAMode", false},
        {"DeviceInfoIsDeviceConnected", true},
    };
    addArea(scanner, paths.hasDuplexFeeder, DocumentSource::duplexFeeder, "DuplexAdf", information);
    addArea(scanner, paths.hasFeeder, DocumentSource::feeder, "Adf", information);
    addArea(scanner, paths.hasTable, DocumentSource::table, "Flatbed", information);
    return information;
}

} // namespace trigora::companions
