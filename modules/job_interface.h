/* The document-capture job interface "ScrivanaInterface": the saved jobs of the document-capture
 * application, and running them.
 *
 * It is a bundle among the resources of that application. Its class "SVJobInterface" (module_class.h) gives
 * an object for a scanner's product ID. The operations are called on threads of the scan modules, also on
 * several at once.
 *
 * A job is a dictionary: "name" (text), "scanSetting" (dictionary: "pixelDataType", "resolution",
 * "functionalUnitType", "documentType" integers, "duplexScanningEnabled", "requiresContinueScanning"
 * booleans), "saveSetting" (dictionary: "imageUTType" text), "transportSetting" (dictionary: "identifier"
 * text), "prohibitsEdit" (boolean).
 *
 * The options of a started job are a dictionary: "jobSetting" (dictionary: "scanSetting" with
 * "pixelDataType", "resolution", "functionalUnitType", "documentType", "landscapeEnabled" integers and
 * "duplexScanningEnabled" boolean; "saveSetting" with "imageUTType" text and "formatSetting", a dictionary
 * that holds "savesAsOneFile" when it matters), "timeout" (integer), "continue" and "errorRecovery"
 * (integers 0 or 1). A value can be null: the choice is the application's.
 */
#ifndef TRIGORA_JOB_INTERFACE_H
#define TRIGORA_JOB_INTERFACE_H

#include "module_class.h"

#ifdef __cplusplus
extern "C" {
#endif

enum { SV_JOB_INTERFACE_VERSION = 1 };

typedef struct SVJobInterfaceClass {
    TrigoraClassHeader header;
    /* The object for a scanner, or null. It belongs to the caller, who hands it to release. */
    void* (*jobInterfaceForProductID)(const char* productID);
    void (*release)(void* object);
    void (*releaseText)(char* text);
    /* A JSON list of jobs. */
    char* (*jobs)(void* object);
    uint8_t (*isPushScanSupported)(void* object);
    uint8_t (*isOfficeFormatSupported)(void* object);
    uint8_t (*isMD5HashedPasswordRequired)(void* object);
    /* UTF-8 as it stands, or null for none. */
    char* (*password)(void* object);
    uint8_t (*isReady)(void* object);
    /* The address is null for a USB scanner; the options are a JSON dictionary. */
    uint8_t (*invokeJobAtIndex)(void* object, int32_t index, const char* ipAddress, const char* options);
    uint8_t (*continueJob)(void* object);
    uint8_t (*completeJob)(void* object);
    uint8_t (*cancelJob)(void* object);
    uint8_t (*keepAliveJob)(void* object);
    uint8_t (*completeJobInContext)(void* object);
} SVJobInterfaceClass;

#ifdef __cplusplus
}
#endif

#endif
