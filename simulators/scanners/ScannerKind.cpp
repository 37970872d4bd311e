#include "simulators/scanners/ScannerKind.h"

#include <algorithm>

namespace trigora::simulators {

namespace {

using Role = SensorKind::Role;

/// A button or state that the back-end does not say to be set by the hardware.
SensorKind unmarked(const char* option, SensorType type = SensorType::boolean, Role role = Role::button) {
    return {option, type, role, false};
}

SensorKind state(const char* option, SensorType type = SensorType::boolean) {
    return {option, type, Role::state, true};
}

SensorKind feeder(const char* option) { return {option, SensorType::boolean, Role::feeder, true}; }

std::vector<ScannerKind> allKinds() {
    const SensorType number = SensorType::number;
    const SensorType text = SensorType::text;
    return {
        {"genesys",
         Reading::queue,
         true,
         false,
         0,
         {{"scan"},
          {"file"},
          {"email"},
          {"copy"},
          feeder("page-loaded"),
          {"power"},
          state("need-calibration")},
         {},
         {}},
        {"plustek",
         Reading::latchedByFirst,
         true,
         true,
         0,
         {unmarked("button 0"), unmarked("button 1"), unmarked("button 2"), unmarked("button 3"),
          unmarked("button 4")},
         {"lamp-switch"},
         {}},
        {"hp3900",
         Reading::latchedByFirst,
         false,
         false,
         0,
         {unmarked("button 0"), unmarked("button 1"), unmarked("button 2"), unmarked("button 3")},
         {},
         {}},
        {"rts8891",
         Reading::latched,
         true,
         false,
         0,
         {unmarked("button-copy"), unmarked("button-mail"), unmarked("button-image-copy"),
          unmarked("button-scan"), unmarked("button-power")},
         {},
         {}},
        {"avision", Reading::message, false, false, 100, {unmarked("message", text)}, {}, {}},
        {"hp5590",
         Reading::storedText,
         false,
         false,
         0,
         {{"button-pressed", text}, state("counter-value", number), feeder("doc-in-adf")},
         {"wait-for-button"},
         {"none", "power", "scan", "collect", "file", "email", "copy", "up", "down", "mode", "cancel"}},
        {"pixma",
         Reading::stickyInSession,
         false,
         false,
         0,
         {unmarked("button-1", number), unmarked("button-2", number),
          unmarked("original", number, Role::state), unmarked("target", number, Role::state),
          unmarked("adf-status", number, Role::state)},
         {"button-controlled"},
         {}},
        {"fujitsu",
         Reading::twice,
         false,
         false,
         0,
         {state("top-edge"),
          feeder("page-loaded"),
          state("cover-open"),
          state("power-save"),
          {"email"},
          state("manual-feed"),
          {"scan"},
          state("function", number),
          state("double-feed")},
         {},
         {}},
        {"canon_dr",
         Reading::twice,
         false,
         false,
         0,
         {{"start"},
          {"stop"},
          {"button-3"},
          {"newfile"},
          {"countonly"},
          {"bypassmode"},
          state("counter", number),
          feeder("page-loaded")},
         {},
         {}},
        {"epjitsu",
         Reading::oncePerSecond,
         false,
         false,
         0,
         {{"scan"}, feeder("page-loaded"), state("top-edge"), state("cover-open"), state("power-save")},
         {},
         {}},
        {"hp5400",
         Reading::level,
         false,
         false,
         0,
         {{"scan"}, {"web"}, {"reprint"}, {"email"}, {"copy"}},
         {},
         {}},
        // One that nobody has heard of.
        {"trigorasim",
         Reading::level,
         false,
         false,
         0,
         {{"big-button"}, {"small-button"}, feeder("page-loaded"), state("cover-open")},
         {},
         {}},
        // Without any sensor, as most are.
        {"epson2", Reading::level, false, false, 0, {}, {}, {}},
    };
}

} // namespace

const std::vector<ScannerKind>& scannerKinds() {
    static const std::vector<ScannerKind> kinds = allKinds();
    return kinds;
}

const ScannerKind* scannerKind(const std::string& backend) {
    const auto found = std::ranges::find(scannerKinds(), backend, &ScannerKind::backend);
    return found != scannerKinds().end() ? &*found : nullptr;
}

} // namespace trigora::simulators
