/* The button manager "ButtonManager.bundle" of the newer scanning applications: serves the panel buttons of
 * the scanners that those applications know.
 *
 * It is a bundle among the resources of such an application. Its class "ButtonManager" (module_class.h)
 * gives one object, which lives until the agent ends. initialize, startNWDeviceObservation and
 * stopNWDeviceObservation are called on the agent's main thread, the others on threads of the scan modules,
 * also on several at once.
 */
#ifndef TRIGORA_BUTTON_MANAGER_H
#define TRIGORA_BUTTON_MANAGER_H

#include "module_class.h"

#ifdef __cplusplus
extern "C" {
#endif

enum { BUTTON_MANAGER_VERSION = 1 };

typedef struct ButtonManagerClass {
    TrigoraClassHeader header;
    /* A new object, or null. */
    void* (*create)(void);
    void (*release)(void* object);
    void (*initialize)(void* object);
    void (*startNWDeviceObservation)(void* object);
    void (*stopNWDeviceObservation)(void* object);
    uint8_t (*isPushScanSupported)(void* object, const char* productID);
    /* Takes over a request to scan; the event is always 2. */
    void (*processEvent)(void* object, int32_t event, const char* productID, const char* ipAddress);
} ButtonManagerClass;

#ifdef __cplusplus
}
#endif

#endif
