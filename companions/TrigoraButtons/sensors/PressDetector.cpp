#include "companions/TrigoraButtons/sensors/PressDetector.h"

#include "platform/Text.h"

#include <algorithm>

namespace trigora::buttons {

PressDetector::PressDetector(std::vector<SensorRow> rows) {
    for (SensorRow& row : rows) {
        sensors_.push_back({.row = std::move(row), .pressed = {}});
    }
}

void PressDetector::sessionBegins(double now) {
    for (Sensor& sensor : sensors_) {
        const bool isLevel = sensor.row.kind == SensorKind::level;
        const bool isLatched = sensor.row.kind == SensorKind::latched;
        if (!sensor.pressed.empty() && (isLatched || (!isLevel && now - lastReading_ >= longestHold))) {
            sensor.pressed.clear();
            sensor.changed = lastReading_;
        }
    }
}

std::vector<SensorPress> PressDetector::take(const SensorReading& reading, double now) {
    std::vector<SensorPress> presses;
    for (std::size_t i = 0; i < std::min(sensors_.size(), reading.size()); ++i) {
        Sensor& sensor = sensors_[i];
        if (!reading[i]) {
            continue;
        }
        std::vector<std::string> pressed = pressedWords(sensor.row, *reading[i]);
        std::vector<std::string> fresh = pressed;
        std::erase_if(fresh, [&](const std::string& word) {
            return std::ranges::find(sensor.pressed, word) != sensor.pressed.end();
        });
        if (!isBaseline_ && !fresh.empty() && isPressOf(sensor, now)) {
            for (const std::string& word : fresh) {
                presses.push_back(sensor.row.kind == SensorKind::text
                                      ? SensorPress{sensor.row.option + ' ' + word, sensor.row.words.at(word)}
                                      : SensorPress{sensor.row.option, sensor.row.button});
            }
        }
        if (pressed != sensor.pressed) {
            sensor.changed = now;
            sensor.pressed = std::move(pressed);
        }
    }
    isBaseline_ = false;
    lastReading_ = now;
    return presses;
}

std::vector<std::string> PressDetector::flickering() const {
    std::vector<std::string> options;
    for (const Sensor& sensor : sensors_) {
        if (sensor.flickers) {
            options.push_back(sensor.row.option);
        }
    }
    return options;
}

/// The known words of a text. Others are left out: the number that a scanner's display shows, or "none".
std::vector<std::string> PressDetector::pressedWords(const SensorRow& row, const std::string& value) {
    if (row.kind != SensorKind::text) {
        return platform::integerValue(value) != 0 ? std::vector<std::string>{""} : std::vector<std::string>{};
    }
    std::vector<std::string> words = platform::componentsSeparatedByString(platform::lowercased(value), ":");
    for (std::string& word : words) {
        word = platform::trimmed(word, " \t\r\n");
    }
    std::erase_if(words, [&](const std::string& word) { return !row.words.contains(word); });
    return words;
}

bool PressDetector::isPressOf(Sensor& sensor, double now) {
    const double rest = sensor.pressed.empty() ? now - sensor.changed : 0;
    if (rest >= cure) {
        sensor.flickers = false;
    }
    sensor.hasty = rest < shortestRest ? sensor.hasty + 1 : 0;
    sensor.flickers = sensor.flickers || sensor.hasty >= hastyPresses;
    const bool isEcho = now - sensor.lastPress < shortestPause;
    if (sensor.flickers || isEcho) {
        return false;
    }
    sensor.lastPress = now;
    return true;
}

} // namespace trigora::buttons
