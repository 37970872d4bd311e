#pragma once

#include "companions/TrigoraButtons/sensors/SensorTable.h"

namespace trigora::buttons {

/// The values of a scanner's sensors, in the order of its rows: a text as it is, anything else as a decimal
/// number. None where the sensor could not be read.
using SensorReading = std::vector<std::optional<std::string>>;

struct SensorPress {
    std::string sensor; ///< the option, for a text followed by a blank and the word
    std::uint32_t button = 0;

    bool operator==(const SensorPress&) const = default;
};

/// Tells presses from readings. Usual order: `expectBaseline` at the start and whenever the scanner was
/// plugged in, `sessionBegins` whenever it has been opened, `take` for each reading that differs from the one
/// before.
///
/// A press is a button that was at rest and is pressed, or a word that a text did not have; however long it
/// is held, it is one. What happened between two sessions counts; the first reading after `expectBaseline`
/// only says how things are. A sensor that is pressed again and again without rest flickers: it is left alone
/// until it has been at rest for some seconds.
class PressDetector {
public:
    // In seconds.
    static constexpr double shortestPause = 0.3; ///< two presses of a sensor within this are one
    static constexpr double shortestRest = 0.3;  ///< presses after a shorter rest are hasty
    static constexpr int hastyPresses = 3;       ///< one after the other make a sensor flicker
    static constexpr double cure = 5;            ///< a rest that ends the flicker
    /// What was pressed at the end of a session and forgets it when read was let go and pressed again when it
    /// is pressed this much later; before, it may still be held.
    static constexpr double longestHold = 2;

    explicit PressDetector(std::vector<SensorRow> rows);

    void expectBaseline() { isBaseline_ = true; }
    void sessionBegins(double now);
    /// Values that are missing or too many are passed over.
    std::vector<SensorPress> take(const SensorReading& reading, double now);
    /// The options of the sensors that flicker.
    std::vector<std::string> flickering() const;

private:
    struct Sensor {
        SensorRow row;
        std::vector<std::string>
            pressed;        ///< the words of a text; one empty word for any other; empty at rest
        double changed = 0; ///< when it last went to rest or was pressed
        double lastPress = -1e9;
        int hasty = 0;
        bool flickers = false;
    };

    static std::vector<std::string> pressedWords(const SensorRow& row, const std::string& value);
    static bool isPressOf(Sensor& sensor, double now);

    std::vector<Sensor> sensors_;
    bool isBaseline_ = true;
    double lastReading_ = 0;
};

} // namespace trigora::buttons
