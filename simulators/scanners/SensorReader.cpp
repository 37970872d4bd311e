#include "simulators/scanners/SensorReader.h"

#include <algorithm>
#include <optional>
#include <span>
#include <thread>
#include <utility>

namespace trigora::simulators {

namespace {

constexpr std::int64_t millisecond = 1'000'000;
constexpr std::int64_t second = 1000 * millisecond;
constexpr std::int64_t eventWait = 300 * millisecond; ///< for a button of a printer with a scanner

std::span<const Press> pressesOf(const ScannerState& state) {
    return {state.presses.data(), static_cast<std::size_t>(state.pressCount)};
}

bool isDown(const ScannerState& state, std::size_t sensor, std::int64_t now) {
    return std::ranges::any_of(pressesOf(state), [&](const Press& press) {
        if (static_cast<std::size_t>(press.sensor) != sensor || press.downAt > now) {
            return false;
        }
        const std::int64_t round = std::min((now - press.downAt) / press.period, press.count - 1);
        return now - press.downAt - round * press.period < press.length;
    });
}

/// When the button first went down after `from`, up to `until`; none when it did not.
std::optional<std::int64_t> firstDown(const Press& press, std::int64_t from, std::int64_t until) {
    const std::int64_t round = from < press.downAt ? 0 : (from - press.downAt) / press.period + 1;
    if (round >= press.count) {
        return std::nullopt;
    }
    const std::int64_t at = press.downAt + round * press.period;
    return at <= until ? std::optional(at) : std::nullopt;
}

/// What was pressed since the sensor was read, in order.
std::vector<const Press*> unread(const ScannerState& state, std::size_t sensor, std::int64_t now) {
    std::vector<const Press*> found;
    for (const Press& press : pressesOf(state)) {
        if (static_cast<std::size_t>(press.sensor) == sensor &&
            firstDown(press, state.sensors[sensor].readUntil, now)) {
            found.push_back(&press);
        }
    }
    std::ranges::sort(found, {}, [](const Press* press) { return press->downAt; });
    return found;
}

int stateOf(const ScannerState& state, std::size_t sensor) {
    const Sensor& what = state.sensors[sensor];
    return what.isFeeder != 0 ? static_cast<int>(state.sheets > 0) : what.value;
}

} // namespace

SensorReader::SensorReader(std::shared_ptr<ScannerFile> scanner) : scanner_(std::move(scanner)) {
    scanner_->with([this](ScannerState& state) {
        const auto count = static_cast<std::size_t>(state.sensorCount);
        reading_ = state.reading;
        buttons_.resize(count);
        values_.resize(count);
        isFresh_.resize(count);
        if (state.readsInOpen != 0) {
            noteChanges(state);
            addPresses(state);
        }
    });
}

void SensorReader::wait(std::int64_t nanoseconds) const {
    if (nanoseconds > 0) {
        std::this_thread::sleep_for(std::chrono::nanoseconds(nanoseconds));
    }
}

/// What has changed since the last look, of all buttons.
void SensorReader::noteChanges(const ScannerState& state) {
    const std::int64_t now = nowInNanoseconds();
    for (std::size_t i = 0; i < buttons_.size(); ++i) {
        const bool level = state.sensors[i].isButton != 0 ? isDown(state, i, now) : stateOf(state, i) != 0;
        if (level != buttons_[i].level) {
            buttons_[i].level = level;
            buttons_[i].changes.push_back(level);
        }
    }
}

int SensorReader::changeOf(std::size_t sensor) {
    Button& button = buttons_[sensor];
    if (button.changes.empty()) {
        return static_cast<int>(button.level);
    }
    const bool change = button.changes.front();
    button.changes.pop_front();
    return static_cast<int>(change);
}

/// Takes the presses of all buttons out of the hardware.
void SensorReader::addPresses(ScannerState& state) {
    const std::int64_t now = nowInNanoseconds();
    for (std::size_t i = 0; i < values_.size(); ++i) {
        if (state.sensors[i].isButton == 0 || state.sensors[i].type == SensorType::text) {
            continue;
        }
        const bool isPressed = !unread(state, i, now).empty();
        values_[i] = static_cast<int>(isPressed || (values_[i] != 0 && state.forgetsUnread == 0));
        state.sensors[i].readUntil = now;
    }
}

/// Waits for a press that nobody has been told of.
void SensorReader::takeEvent() {
    const std::int64_t end = nowInNanoseconds() + eventWait;
    for (;;) {
        const bool found = scanner_->with([this](ScannerState& state) {
            for (std::size_t i = 0; i < values_.size(); ++i) {
                Sensor& sensor = state.sensors[i];
                const auto presses = state.isPlugged != 0 && sensor.isButton != 0
                                         ? unread(state, i, nowInNanoseconds())
                                         : std::vector<const Press*>();
                if (!presses.empty()) {
                    sensor.readUntil = *firstDown(*presses.front(), sensor.readUntil, endOfTime);
                    values_[i] = 1;
                    return true;
                }
            }
            return false;
        });
        if (found || nowInNanoseconds() >= end) {
            return;
        }
        wait(5 * millisecond);
    }
}

void SensorReader::copyLevels(const ScannerState& state) {
    const std::int64_t now = nowInNanoseconds();
    for (std::size_t i = 0; i < values_.size(); ++i) {
        const Sensor& sensor = state.sensors[i];
        values_[i] = sensor.isButton != 0 ? static_cast<int>(isDown(state, i, now)) : stateOf(state, i);
    }
}

int SensorReader::number(std::size_t sensor) {
    const bool isFresh = isFresh_[sensor];
    wait(scanner_->with([](ScannerState& state) {
        ++state.readings;
        return state.readingTakes;
    }));
    if (reading_ == Reading::stickyInSession && !isFresh) {
        takeEvent();
    }
    return scanner_->with([&](ScannerState& state) {
        const bool isButton = state.sensors[sensor].isButton != 0;
        switch (reading_) {
        case Reading::queue:
            noteChanges(state);
            return changeOf(sensor);
        case Reading::latchedByFirst:
        case Reading::latched:
            if (!isButton) {
                return stateOf(state, sensor);
            }
            if (reading_ == Reading::latched || sensor == 0) {
                addPresses(state);
            }
            return std::exchange(values_[sensor], 0);
        case Reading::stickyInSession:
            if (!isFresh) {
                isFresh_.assign(isFresh_.size(), true);
            }
            isFresh_[sensor] = false;
            return isButton ? values_[sensor] : stateOf(state, sensor);
        case Reading::twice:
            if (!isFresh) {
                copyLevels(state);
                isFresh_.assign(isFresh_.size(), true);
            }
            isFresh_[sensor] = false;
            return values_[sensor];
        case Reading::oncePerSecond:
            if (second_ != nowInNanoseconds() / second) {
                second_ = nowInNanoseconds() / second;
                copyLevels(state);
            }
            return values_[sensor];
        default:
            copyLevels(state);
            return values_[sensor];
        }
    });
}

std::string SensorReader::text(std::size_t sensor) {
    wait(scanner_->with([](ScannerState& state) {
        ++state.readings;
        return state.readingTakes;
    }));
    return scanner_->with([&](ScannerState& state) {
        const std::int64_t now = nowInNanoseconds();
        const std::vector<const Press*> presses = unread(state, sensor, now);
        state.sensors[sensor].readUntil = now;
        if (reading_ == Reading::storedText) {
            return std::string(presses.empty() ? "none" : presses.back()->text.data());
        }
        std::string text = state.display > 0 ? std::to_string(state.display) : std::string();
        for (const Press* press : presses) {
            text += (text.empty() ? "" : ":") + std::string(press->text.data());
        }
        return text;
    });
}

} // namespace trigora::simulators
