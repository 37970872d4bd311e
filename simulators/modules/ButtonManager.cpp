// The simulated button manager. It serves the scanners that the settings list as "buttonManagerScanners",
// and no others.

#include "modules/button_manager.h"
#include "simulators/simulation/ClassTables.h"

namespace trigora::simulators {
namespace {

constexpr const char* module = "ButtonManager";

/// The object has no state; only its address counts.
struct Object {};

void* create() {
    noteCall(module, "create", {});
    return new Object;
}

void release(void* object) {
    noteCall(module, "release", {});
    delete static_cast<Object*>(object);
}

void initialize(void*) { noteCall(module, "initialize", {}); }

void startNWDeviceObservation(void*) { noteCall(module, "startNWDeviceObservation", {}); }

void stopNWDeviceObservation(void*) { noteCall(module, "stopNWDeviceObservation", {}); }

std::uint8_t isPushScanSupported(void*, const char* productID) {
    const bool isServed =
        productID != nullptr && contains(readObject("settings.json"), "buttonManagerScanners", productID);
    noteCall(module, "isPushScanSupported", {{"productID", textOrNull(productID)}, {"result", isServed}});
    return isServed ? 1 : 0;
}

void processEvent(void*, std::int32_t event, const char* productID, const char* ipAddress) {
    noteCall(module, "processEvent",
             {{"event", event}, {"productID", textOrNull(productID)}, {"ipAddress", textOrNull(ipAddress)}});
}

const TrigoraClassHeader* TrigoraClassNamed(const char* className) {
    static ClassTables<ButtonManagerClass> tables;
    if (className == nullptr || std::strcmp(className, "ButtonManager") != 0) {
        return nullptr;
    }
    return tables.keep({{},
                        &create,
                        &release,
                        &initialize,
                        &startNWDeviceObservation,
                        &stopNWDeviceObservation,
                        &isPushScanSupported,
                        &processEvent},
                       BUTTON_MANAGER_VERSION);
}

} // namespace
} // namespace trigora::simulators

TRIGORA_SIMULATED_FUNCTION(TrigoraClassNamed, TrigoraClassNamedFunction)
