#include "companions/TrigoraButtons/sensors/PressDetector.h"

#include <gtest/gtest.h>

#include <cmath>

namespace trigora::buttons {
namespace {

SensorRow row(SensorKind kind) {
    SensorRow row{.option = "b", .kind = kind, .button = 1, .words = {}};
    if (kind == SensorKind::text) {
        row.button = 0;
        row.words = {{"scan", 1}, {"copy", 2}};
    }
    return row;
}

/// One reading per word, a tenth of a second apart: a value, "-" for a sensor that cannot be read, "open" for
/// a new session a minute later, "reopen" for one at once, "plugged" for a baseline, "wait" for ten seconds.
/// Gives the buttons pressed, with the number of the reading.
std::string presses(SensorKind kind, const std::vector<std::string>& readings) {
    PressDetector detector({row(kind)});
    double now = 100;
    int number = 0;
    std::string pressed;
    for (const std::string& reading : readings) {
        if (reading == "open" || reading == "reopen") {
            now += reading == "open" ? 60 : 0.2;
            detector.sessionBegins(now);
            continue;
        }
        if (reading == "plugged") {
            detector.expectBaseline();
            continue;
        }
        if (reading == "wait") {
            now += 10;
            continue;
        }
        now += 0.1;
        ++number;
        const std::optional<std::string> value = reading == "-" ? std::nullopt : std::optional(reading);
        for (const SensorPress& press : detector.take({value}, now)) {
            pressed +=
                (pressed.empty() ? "" : " ") + std::to_string(press.button) + '@' + std::to_string(number);
        }
    }
    return pressed;
}

TEST(PressDetector, TellsPressesByTheKindOfSensor) {
    using enum SensorKind;
    struct Case {
        const char* what;
        SensorKind kind;
        std::vector<std::string> readings;
        const char* expected;
    };
    const Case cases[] = {
        {"a tap", level, {"0", "wait", "1", "0"}, "1@2"},
        {"held as long as one likes", level, {"0", "wait", "1", "1", "wait", "1", "wait", "1"}, "1@2"},
        {"two taps", level, {"0", "wait", "1", "0", "wait", "1", "0"}, "1@2 1@4"},
        {"another number is pressed, too", level, {"0", "wait", "7"}, "1@2"},
        {"pressed at the start", level, {"1", "1", "0", "wait", "1"}, "1@4"},
        {"pressed when plugged in", level, {"0", "open", "plugged", "1", "0", "wait", "1"}, "1@4"},
        {"pressed while nobody looked", level, {"0", "open", "1"}, "1@2"},
        {"held while nobody looked", level, {"0", "wait", "1", "open", "1", "0", "wait", "1"}, "1@2 1@5"},
        {"a reading that failed is no rest", level, {"0", "wait", "1", "-", "1"}, "1@2"},
        {"nothing could be read at the start", level, {"-", "0", "wait", "1"}, "1@3"},
        {"a word is not a number", level, {"0", "wait", "on"}, ""},

        {"held at the reading", cleared, {"0", "wait", "1", "1", "0"}, "1@2"},
        {"latched at the start", cleared, {"1", "0"}, ""},
        {"latched during a scan", cleared, {"0", "wait", "1", "open", "1", "0"}, "1@2 1@3"},
        {"still held after a moment", cleared, {"0", "wait", "1", "reopen", "1", "0"}, "1@2"},

        {"never goes back", latched, {"0", "wait", "1", "1", "1"}, "1@2"},
        {"goes back when opened anew", latched, {"0", "wait", "1", "reopen", "0", "wait", "1"}, "1@2 1@4"},
        {"pressed again at once", latched, {"0", "wait", "1", "open", "1"}, "1@2 1@3"},

        {"a word, cleared by reading", text, {"none", "wait", "scan", "none"}, "1@2"},
        {"without regard to capitals", text, {"", "wait", "Copy"}, "2@2"},
        {"another word", text, {"none", "wait", "scan", "none", "wait", "copy"}, "1@2 2@4"},
        {"the same word again", text, {"none", "wait", "scan", "none", "wait", "scan"}, "1@2 1@4"},
        {"two buttons at once", text, {"none", "wait", "scan:copy"}, "1@2 2@2"},
        {"kept from before the start", text, {"scan", "none"}, ""},
        {"kept during a scan", text, {"none", "wait", "scan", "open", "scan", "none"}, "1@2 1@3"},
        {"a word that no row knows", text, {"none", "wait", "fax"}, ""},
        {"the display's number alone", text, {"1", "wait", "2", "3"}, ""},
        {"a word after the display's number", text, {"3", "wait", "3:scan", "3"}, "1@2"},
        {"another number, the word still there", text, {"3", "wait", "3:scan", "4:scan"}, "1@2"},
    };
    for (const Case& c : cases) {
        EXPECT_EQ(presses(c.kind, c.readings), c.expected) << c.what;
    }
}

TEST(PressDetector, LeavesAFlickeringSensorAloneUntilItHasRested) {
    for (const SensorKind kind : {SensorKind::level, SensorKind::cleared}) {
        PressDetector detector({row(kind)});
        detector.take({"0"}, 0);
        std::size_t presses = 0;
        double now = 10;
        for (int reading = 0; reading < 6000; ++reading, now += 0.1) {
            presses += detector.take({reading % 2 == 0 ? "1" : "0"}, now).size();
        }
        EXPECT_LE(presses, 2U) << "of a loose contact in ten minutes";
        EXPECT_EQ(detector.flickering(), std::vector<std::string>{"b"});
        EXPECT_EQ(detector.take({"1"}, now + 2).size(), 0U) << "after a short rest";
        detector.take({"0"}, now + 3);
        EXPECT_EQ(detector.take({"1"}, now + 20).size(), 1U) << "after a long rest";
        EXPECT_TRUE(detector.flickering().empty());
    }
    PressDetector flooded({row(SensorKind::text)});
    flooded.take({"none"}, 0);
    std::size_t presses = 0;
    for (int reading = 0; reading < 600; ++reading) {
        presses += flooded.take({reading % 2 == 0 ? "scan" : "copy"}, 10 + reading * 0.1).size();
    }
    EXPECT_LE(presses, 3U) << "of a text that never rests";
}

TEST(PressDetector, NoTapIsLostAtTheUsualInterval) {
    // 200 taps of 200 milliseconds, whose beginnings walk through all moments between two readings.
    constexpr double tapEvery = 1.037;
    PressDetector detector({row(SensorKind::level)});
    std::size_t presses = 0;
    for (int reading = 0; reading * 0.1 < 201 * tapEvery; ++reading) {
        const double now = reading * 0.1;
        const bool isPressed = now > tapEvery && std::fmod(now, tapEvery) < 0.2;
        presses += detector.take({isPressed ? "1" : "0"}, now).size();
    }
    EXPECT_EQ(presses, 200U);
}

TEST(PressDetector, BelievesNoNumberOfValues) {
    PressDetector detector({row(SensorKind::level), row(SensorKind::level)});
    EXPECT_TRUE(detector.take({}, 1).empty());
    detector.take({"0", "0", "1"}, 2);
    EXPECT_EQ(detector.take({"1"}, 10).size(), 1U);
}

} // namespace
} // namespace trigora::buttons
