#include "simulators/scanners/ScannerFolder.h"

#include "simulators/scanners/ScannerKind.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace trigora::simulators {

namespace {

Sensor sensorOf(const SensorKind& kind) {
    Sensor sensor{};
    putText(sensor.option, kind.option);
    putText(sensor.title, kind.option);
    sensor.type = kind.type;
    sensor.isButton = static_cast<std::int32_t>(kind.role == SensorKind::Role::button);
    sensor.isFeeder = static_cast<std::int32_t>(kind.role == SensorKind::Role::feeder);
    sensor.isSetByHardware = static_cast<std::int32_t>(kind.isSetByHardware);
    sensor.isActive = 1;
    return sensor;
}

/// A scanner of the kind, not plugged in yet.
ScannerState stateOf(const ScannerKind& kind, const ScannerDescription& description) {
    ScannerState state{};
    putText(state.backend, kind.backend);
    putText(state.address, description.address);
    putText(state.vendor, description.vendor);
    putText(state.model, description.model);
    putText(state.type, description.type);
    state.reading = kind.reading;
    state.readsInOpen = static_cast<std::int32_t>(kind.readsInOpen);
    state.forgetsUnread = static_cast<std::int32_t>(kind.forgetsUnread);
    state.readingTakes = std::chrono::nanoseconds(std::chrono::milliseconds(kind.readingTakes)).count();
    state.lookingTakes = std::chrono::nanoseconds(std::chrono::microseconds(200)).count();
    state.claimTakes = std::chrono::nanoseconds(std::chrono::milliseconds(1)).count();
    state.sensorCount = static_cast<std::int32_t>(kind.sensors.size());
    std::ranges::transform(kind.sensors, state.sensors.begin(), sensorOf);
    state.hasTable = 1;
    state.hasFeeder = static_cast<std::int32_t>(std::ranges::any_of(
        kind.sensors, [](const SensorKind& sensor) { return sensor.role == SensorKind::Role::feeder; }));
    state.hasDuplex = state.hasFeeder;
    return state;
}

} // namespace

ScannerFolder::ScannerFolder(std::string path, const std::vector<std::string>& backends)
    : path_(std::move(path)) {
    std::filesystem::create_directories(path_ + "/scanners");
    std::filesystem::create_directories(usbFolder() + "/001");
    std::ofstream configuration(path_ + "/dll.conf");
    for (const std::string& backend : backends) {
        configuration << backend << '\n';
    }
    for (const ScannerKind& kind : scannerKinds()) {
        if (backends.empty()) {
            configuration << kind.backend << '\n';
        }
    }
}

ScannerControl ScannerFolder::plugIn(const ScannerDescription& description) {
    const ScannerKind* kind = scannerKind(description.backend);
    if (kind == nullptr) {
        throw std::invalid_argument("no simulated back-end is called " + description.backend);
    }
    ScannerState state = stateOf(*kind, description);
    if (!description.isOnNetwork) {
        putText(state.node, usbFolder() + "/001/000");
    }
    const std::string folder = path_ + "/scanners";
    for (int i = 0;; ++i) {
        const std::string path = folder + "/" + std::to_string(1000 + i) + ".scanner";
        if (!std::filesystem::exists(path)) {
            std::shared_ptr<ScannerFile> file = ScannerFile::create(path, state);
            if (!file) {
                throw std::runtime_error("the simulated scanner " + path + " cannot be made");
            }
            ScannerControl control(std::move(file), folder);
            control.replug();
            return control;
        }
    }
}

std::vector<ScannerControl> ScannerFolder::scanners() const {
    std::vector<ScannerControl> scanners;
    const std::string folder = path_ + "/scanners";
    for (std::shared_ptr<ScannerFile>& file : ScannerFile::allIn(folder)) {
        scanners.emplace_back(std::move(file), folder);
    }
    return scanners;
}

std::vector<std::string> ScannerFolder::environment() const {
    return {"SANE_CONFIG_DIR=" + path_, "LD_LIBRARY_PATH=" TRIGORA_SIMULATED_BACKENDS};
}

void ScannerFolder::useHere() const {
    for (const std::string& variable : environment()) {
        const std::size_t end = variable.find('=');
        setenv(variable.substr(0, end).c_str(), variable.substr(end + 1).c_str(), 1);
    }
}

} // namespace trigora::simulators
