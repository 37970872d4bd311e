#include "simulators/scanners/SimulatedBackend.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

namespace trigora::simulators {

namespace {

/// That of the first folder of SANE_CONFIG_DIR that has one.
std::string folderOfScanners() {
    const char* variable = std::getenv("SANE_CONFIG_DIR");
    std::string left = variable != nullptr ? variable : "";
    while (!left.empty()) {
        const std::size_t end = std::min(left.find(':'), left.size());
        std::string folder = left.substr(0, end) + "/scanners";
        std::error_code error;
        if (std::filesystem::is_directory(folder, error)) {
            return folder;
        }
        left.erase(0, end + 1);
    }
    return "";
}

} // namespace

SimulatedBackend::SimulatedBackend(std::string name) : name_(std::move(name)), folder_(folderOfScanners()) {}

std::vector<std::shared_ptr<ScannerFile>> SimulatedBackend::scanners() const {
    std::vector<std::shared_ptr<ScannerFile>> scanners = ScannerFile::allIn(folder_);
    std::erase_if(scanners, [this](const std::shared_ptr<ScannerFile>& scanner) {
        return scanner->with([this](const ScannerState& state) { return name_ != state.backend.data(); });
    });
    return scanners;
}

void SimulatedBackend::lookAtAllNodes(const std::string& folder) {
    for (const std::shared_ptr<ScannerFile>& scanner : ScannerFile::allIn(folder)) {
        lookAtNode(*scanner);
    }
}

SANE_Status SimulatedBackend::initialise() {
    for (const std::shared_ptr<ScannerFile>& scanner : scanners()) {
        const SANE_Status status = suffer(*scanner, Call::init);
        if (status != SANE_STATUS_GOOD) {
            return status;
        }
    }
    lookAtAllNodes(folder_);
    return SANE_STATUS_GOOD;
}

SANE_Status SimulatedBackend::devices(const SANE_Device**& list, bool localOnly) {
    lookAtAllNodes(folder_);
    devices_.clear();
    for (const std::shared_ptr<ScannerFile>& scanner : scanners()) {
        if (localOnly && scanner->with([](const ScannerState& state) { return state.node[0] == '\0'; })) {
            continue;
        }
        const SANE_Status status = suffer(*scanner, Call::getDevices);
        if (status != SANE_STATUS_GOOD) {
            return status;
        }
        scanner->with([this](const ScannerState& state) {
            if (state.isPlugged != 0) {
                devices_.push_back(std::make_unique<Device>(Device{
                    state.address.data(), state.vendor.data(), state.model.data(), state.type.data(), {}}));
            }
        });
    }
    list_.clear();
    for (const std::unique_ptr<Device>& device : devices_) {
        device->device = {device->address.c_str(), device->vendor.c_str(), device->model.c_str(),
                          device->type.c_str()};
        list_.push_back(&device->device);
    }
    list_.push_back(nullptr);
    list = list_.data();
    return SANE_STATUS_GOOD;
}

std::unique_ptr<ScannerSession> SimulatedBackend::open(const std::string& address, SANE_Status& status) {
    for (std::shared_ptr<ScannerFile>& scanner : scanners()) {
        const bool isMeant = scanner->with([&](const ScannerState& state) {
            return address.empty() ? state.isPlugged != 0 : address == state.address.data();
        });
        if (isMeant) {
            return ScannerSession::open(std::move(scanner), status);
        }
    }
    status = SANE_STATUS_INVAL;
    return nullptr;
}

} // namespace trigora::simulators
