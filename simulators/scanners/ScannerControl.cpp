#include "simulators/scanners/ScannerControl.h"

#include "simulators/scanners/ScannerSession.h"

#include <algorithm>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace trigora::simulators {

namespace {

constexpr int firstNumber = 4; // what comes before are hubs

std::int64_t nanosecondsOf(Moment moment) { return moment.time_since_epoch() / std::chrono::nanoseconds(1); }

Sensor* sensorNamed(ScannerState& state, const std::string& option) {
    const auto end = state.sensors.begin() + state.sensorCount;
    const auto found = std::find_if(state.sensors.begin(), end,
                                    [&](const Sensor& sensor) { return option == sensor.option.data(); });
    return found != end ? found : nullptr;
}

/// The sensor that tells of the button: its own, or the one that names it.
Sensor* sensorOf(ScannerState& state, const std::string& button) {
    Sensor* own = sensorNamed(state, button);
    if (own != nullptr) {
        return own;
    }
    const auto end = state.sensors.begin() + state.sensorCount;
    const auto found = std::find_if(state.sensors.begin(), end, [](const Sensor& sensor) {
        return sensor.type == SensorType::text && sensor.isButton != 0;
    });
    return found != end ? found : nullptr;
}

void check(bool isThere, const std::string& name) {
    if (!isThere) {
        throw std::invalid_argument("the simulated scanner has no \"" + name + "\"");
    }
}

int nextNumber(const std::string& folder) {
    int last = firstNumber - 1;
    for (const std::shared_ptr<ScannerFile>& scanner : ScannerFile::allIn(folder)) {
        last = std::max(last, scanner->with([](const ScannerState& state) { return state.number; }));
    }
    return last + 1;
}

} // namespace

std::string ScannerControl::device() const {
    return file_->with([](const ScannerState& state) {
        return std::string(state.backend.data()) + ":" + state.address.data();
    });
}

std::string ScannerControl::node() const {
    return file_->with([](const ScannerState& state) { return std::string(state.node.data()); });
}

Moment ScannerControl::add(const std::string& button, Press press) {
    const bool isAdded = file_->with([&](ScannerState& state) {
        const Sensor* sensor = sensorOf(state, button);
        if (sensor == nullptr || static_cast<std::size_t>(state.pressCount) == state.presses.size()) {
            return false;
        }
        press.sensor = static_cast<std::int32_t>(sensor - state.sensors.data());
        putText(press.text, button);
        state.presses.at(static_cast<std::size_t>(state.pressCount++)) = press;
        return true;
    });
    check(isAdded, button);
    return Moment(std::chrono::nanoseconds(press.downAt));
}

Moment ScannerControl::press(const std::string& button) {
    return add(button, {0, {}, nowInNanoseconds(), endOfTime, endOfTime, 1});
}

void ScannerControl::release(const std::string& button) {
    const std::int64_t now = nowInNanoseconds();
    file_->with([&](ScannerState& state) {
        for (Press& press : state.presses) {
            if (button == press.text.data() && press.length == endOfTime) {
                press.length = now - press.downAt;
            }
        }
    });
}

Moment ScannerControl::tap(const std::string& button, const Tap& tap) {
    const std::int64_t downAt = tap.at ? nanosecondsOf(*tap.at) : nowInNanoseconds();
    return add(button, {0, {}, downAt, tap.length.count(), tap.every.count(), tap.count});
}

void ScannerControl::set(const std::string& option, int value) {
    check(file_->with([&](ScannerState& state) {
        Sensor* sensor = sensorNamed(state, option);
        if (sensor != nullptr) {
            sensor->value = value;
        }
        return sensor != nullptr;
    }),
          option);
}

void ScannerControl::activate(const std::string& option, bool isActive) {
    check(file_->with([&](ScannerState& state) {
        Sensor* sensor = sensorNamed(state, option);
        if (sensor != nullptr) {
            sensor->isActive = static_cast<std::int32_t>(isActive);
        }
        return sensor != nullptr;
    }),
          option);
}

void ScannerControl::unplug() { simulators::unplug(*file_); }

void ScannerControl::replug(bool withSameAddress) {
    const int number = nextNumber(folder_);
    const std::string node = file_->with([&](ScannerState& state) {
        if (state.node[0] != '\0' && !withSameAddress) {
            std::array<char, 16> text{};
            std::snprintf(text.data(), text.size(), "%03d", number % 1000);
            state.number = number;
            putText(state.address, std::string("libusb:001:") + text.data());
            const std::filesystem::path bus = std::filesystem::path(state.node.data()).parent_path();
            putText(state.node, (bus / text.data()).string());
        }
        return std::string(state.node.data());
    });
    if (!node.empty()) {
        std::ofstream made(node);
        if (!made) {
            throw std::runtime_error("the simulated node " + node + " cannot be made");
        }
    }
    file_->with([](ScannerState& state) { state.isPlugged = 1; });
}

void ScannerControl::setFault(Call call, const Fault& fault) {
    file_->with([&](ScannerState& state) { state.faults.at(static_cast<std::size_t>(call)) = fault; });
}

void ScannerControl::fail(Call call, Failure failure, std::int64_t times, std::int64_t skip) {
    setFault(call, {failure, 0, 0, skip, times, {}});
}

void ScannerControl::failWith(Call call, int status, std::int64_t times, std::int64_t skip) {
    setFault(call, {Failure::status, status, 0, skip, times, {}});
}

void ScannerControl::beSlow(Call call, std::chrono::nanoseconds takes, std::int64_t times,
                            std::int64_t skip) {
    setFault(call, {Failure::slow, 0, takes.count(), skip, times, {}});
}

void ScannerControl::failOnly(Call call, const std::string& option) {
    file_->with([&](ScannerState& state) {
        putText(state.faults.at(static_cast<std::size_t>(call)).option, option);
    });
}

void ScannerControl::heal() {
    file_->with([](ScannerState& state) { state.faults.fill(Fault{}); });
}

void ScannerControl::loadSheets(int count) {
    file_->with([count](ScannerState& state) { state.sheets = count; });
}

} // namespace trigora::simulators
