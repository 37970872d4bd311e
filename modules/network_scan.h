/* The network-scan module "NetScanBundle": finds scanners on the network and reports what their users do
 * at the control panel.
 *
 * It is a bundle in the agent's "Contents/PlugIns/NetScanBundle.bundle" that exports the functions below by
 * name; each is optional. The agent calls them on its main thread, in this order: NSMInitial once after
 * loading, NSMStartService, NSMSetPCName, NSMStopService (and NSMStartService again after a change of the
 * settings). The module calls back on threads of its own, also several at once, and also while it is being
 * stopped, until NSMStopService has returned.
 *
 * Records and the texts that they refer to belong to the module and need to live only until the call-back
 * returns. All integers are little-endian; address32 fields refer to memory below 4 GiB
 * (trigora_memory.h).
 */
#ifndef TRIGORA_NETWORK_SCAN_H
#define TRIGORA_NETWORK_SCAN_H

#include "trigora_memory.h"

#ifdef __cplusplus
extern "C" {
#endif

/* A scanner that announces itself. */
typedef struct _NSMDiscovery {
    uint32_t reserved[2];         /* not read by the agent */
    address32 productID;          /* NUL-terminated UTF-8 */
    address32 versionInformation; /* NUL-terminated UTF-8; a panel with job lists has "Ver" in it */
    address32 ipAddress;          /* NUL-terminated UTF-8, or 0 */
} _NSMDiscovery;

/* Belongs to the module; the agent neither reads nor writes it. */
typedef struct _NSMEvent _NSMEvent;

/* What happened at the panel: the kind of an event, and with it the record that comes along. */
enum {
    NSM_EVENT_SIMPLE_SCAN = 3, /* NSMScanRequest: scan to this computer */
    NSM_EVENT_START_JOB = 4,   /* _PSMLPANELSCANJOBINFO: a command for a job */
    NSM_EVENT_JOB_LIST = 5,    /* _PSMLPANELSCANJOBINFO: the panel asks for the list of jobs */
    NSM_EVENT_END_JOB = 6      /* _PSMLPANELSCANJOBINFO: the job is over */
};

/* Commands of NSM_EVENT_START_JOB. */
enum {
    PANEL_COMMAND_START = 0,
    PANEL_COMMAND_CONTINUE = 1,
    PANEL_COMMAND_COMPLETE = 2,
    PANEL_COMMAND_CANCEL = 3,
    PANEL_COMMAND_KEEP_ALIVE = 4
};

/* Capability flags of a panel. */
enum {
    PANEL_OFFERS_OFFICE_FORMATS = 1,
    PANEL_HAS_ERROR_RECOVERY = 2,
    PANEL_HAS_CONTINUE_SCANNING = 4,
    PANEL_HONOURS_PROHIBITS_EDIT = 8
};

/* What the agent answers to an event. */
enum { PANEL_RESULT_DONE = 1, PANEL_RESULT_FAILED = 8, PANEL_RESULT_BUSY = 9 };

/* What the agent answers to an announcement. */
enum { NSM_SCANNER_SERVED = 1, NSM_SCANNER_NOT_SERVED = 2 };

/* The request of NSM_EVENT_SIMPLE_SCAN. Texts are UTF-8 and end at a NUL or at the end of their field. */
typedef struct NSMScanRequest {
    char productID[32];
    char modelName[34];
    char ipAddress[34];
    int32_t eventStatus; /* the button, possibly with feature bits */
} NSMScanRequest;

/* A panel job. Texts end at a NUL or at the end of their field. */
typedef struct _PSMLPANELSCANJOBINFO {
    char productID[66];       /* ASCII */
    char ipAddress[32];       /* 8 hexadecimal digits, or dotted text */
    char hardwareAddress[12]; /* 12 hexadecimal characters, never terminated */
    uint8_t reserved[26];
    int32_t jobIndex;         /* in the list as it was sent, from 0 */
    uint32_t capabilityFlags; /* PANEL_OFFERS_OFFICE_FORMATS …; the agent may clear that one */
    int32_t command;          /* PANEL_COMMAND_… */
    int32_t timeout;          /* passed on to the job unchanged */
    int32_t protocolVersion;  /* below 110: the old job list */
} _PSMLPANELSCANJOBINFO;

/* Gives NSM_SCANNER_SERVED or NSM_SCANNER_NOT_SERVED. May take long: 20 seconds and more. */
typedef int32_t (*NSMDiscoveryCallback)(const _NSMDiscovery* discovery, void* context);
/* Gives a PANEL_RESULT. The fourth argument is not looked at. */
typedef int32_t (*NSMEventCallback)(_NSMEvent* event, int32_t kind, void* data, int32_t reserved,
                                    void* context);
/* Keeps the text for the user to see; gives 1. */
typedef int32_t (*NSMErrorCallback)(int32_t code, int32_t detail, const char* text, void* context);

/* Exported by the module as "NSMInitial", "NSMStartService" and so on. */
typedef int32_t NSMInitialFunction(void);
/* Gives 1 when the service runs. Each context is handed to the call-back of its place. */
typedef int32_t NSMStartServiceFunction(NSMDiscoveryCallback discovery, NSMEventCallback event,
                                        NSMErrorCallback error, void* discoveryContext, void* eventContext,
                                        void* errorContext);
/* Gives 1 when the service has stopped; no call-back is made after that. */
typedef int32_t NSMStopServiceFunction(void);
/* The name that scanners show for this computer, NUL-terminated UTF-8. The count is that of its UTF-16
 * units, which is not its length in bytes unless the name is ASCII: go by the NUL. */
typedef int32_t NSMSetPCNameFunction(const char* name, uint32_t count);
/* Looked up, never called. */
typedef int32_t NSMTerminalFunction(void);
typedef int32_t NSMGetPCNameFunction(char* name, uint32_t* count);

TRIGORA_STATIC_ASSERT(sizeof(_NSMDiscovery) == 20, "size");
TRIGORA_STATIC_ASSERT(offsetof(_NSMDiscovery, productID) == 8, "offset");
TRIGORA_STATIC_ASSERT(offsetof(_NSMDiscovery, versionInformation) == 12, "offset");
TRIGORA_STATIC_ASSERT(offsetof(_NSMDiscovery, ipAddress) == 16, "offset");
TRIGORA_STATIC_ASSERT(sizeof(NSMScanRequest) == 104, "size");
TRIGORA_STATIC_ASSERT(offsetof(NSMScanRequest, modelName) == 32, "offset");
TRIGORA_STATIC_ASSERT(offsetof(NSMScanRequest, ipAddress) == 66, "offset");
TRIGORA_STATIC_ASSERT(offsetof(NSMScanRequest, eventStatus) == 100, "offset");
TRIGORA_STATIC_ASSERT(sizeof(_PSMLPANELSCANJOBINFO) == 156, "size");
TRIGORA_STATIC_ASSERT(offsetof(_PSMLPANELSCANJOBINFO, ipAddress) == 66, "offset");
TRIGORA_STATIC_ASSERT(offsetof(_PSMLPANELSCANJOBINFO, hardwareAddress) == 98, "offset");
TRIGORA_STATIC_ASSERT(offsetof(_PSMLPANELSCANJOBINFO, jobIndex) == 136, "offset");
TRIGORA_STATIC_ASSERT(offsetof(_PSMLPANELSCANJOBINFO, capabilityFlags) == 140, "offset");
TRIGORA_STATIC_ASSERT(offsetof(_PSMLPANELSCANJOBINFO, command) == 144, "offset");
TRIGORA_STATIC_ASSERT(offsetof(_PSMLPANELSCANJOBINFO, timeout) == 148, "offset");
TRIGORA_STATIC_ASSERT(offsetof(_PSMLPANELSCANJOBINFO, protocolVersion) == 152, "offset");

#ifdef __cplusplus
}
#endif

#endif
