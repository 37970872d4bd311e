/* The USB push-scan module "UsbScanBundle": reports what the user of a USB scanner does at its panel.
 *
 * It is a bundle in the agent's "Contents/PlugIns/UsbScanBundle.bundle" that exports "StartEvent". The agent
 * calls it on its main thread whenever a scanner has announced itself; the module then calls back on threads
 * of its own. The module does not speak to the panel driver: the agent encodes and decodes job data in the
 * request record. All integers are little-endian; address32 fields refer to memory below 4 GiB
 * (trigora_memory.h).
 */
#ifndef TRIGORA_USB_SCAN_H
#define TRIGORA_USB_SCAN_H

#include "trigora_memory.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Kinds of a request; the commands, capability flags and results are those of network_scan.h. */
enum {
    PSML_STRUCT_PANELSCAN_START = 4,   /* a command for a job */
    PSML_STRUCT_PANELSCAN_JOBLIST = 5, /* the panel asks for the list of jobs */
    PSML_STRUCT_PANELSCAN_END = 6      /* the job is over */
};

typedef struct UsbPanelScanJobInfo {
    uint8_t reserved1[98];    /* not read by the agent */
    char hardwareAddress[12]; /* 12 hexadecimal characters, never terminated */
    uint8_t reserved2[26];
    int32_t jobIndex;         /* in the list as it was sent, from 0 */
    uint32_t capabilityFlags; /* the agent may clear the bit of the office formats */
    int32_t command;
    int32_t timeout;         /* passed on to the job unchanged */
    int32_t protocolVersion; /* its low 16 bits are handed to the panel driver */
    address32
        jobData; /* encoded: filled by the agent for a list, decoded for each command of a job; may be 0 */
    uint32_t jobDataLength; /* bytes */
} UsbPanelScanJobInfo;

/* Gives a PANEL_RESULT. The first and the fourth argument are not looked at. */
typedef int32_t (*UsbEventCallback)(void* reserved, int32_t kind, UsbPanelScanJobInfo* record,
                                    int32_t reserved2, void* context);

/* Exported by the module as "StartEvent". */
typedef void StartEventFunction(uint32_t productID, uint32_t reserved, UsbEventCallback callback,
                                void* context);

TRIGORA_STATIC_ASSERT(sizeof(UsbPanelScanJobInfo) == 164, "size");
TRIGORA_STATIC_ASSERT(offsetof(UsbPanelScanJobInfo, hardwareAddress) == 98, "offset");
TRIGORA_STATIC_ASSERT(offsetof(UsbPanelScanJobInfo, jobIndex) == 136, "offset");
TRIGORA_STATIC_ASSERT(offsetof(UsbPanelScanJobInfo, capabilityFlags) == 140, "offset");
TRIGORA_STATIC_ASSERT(offsetof(UsbPanelScanJobInfo, command) == 144, "offset");
TRIGORA_STATIC_ASSERT(offsetof(UsbPanelScanJobInfo, timeout) == 148, "offset");
TRIGORA_STATIC_ASSERT(offsetof(UsbPanelScanJobInfo, protocolVersion) == 152, "offset");
TRIGORA_STATIC_ASSERT(offsetof(UsbPanelScanJobInfo, jobData) == 156, "offset");
TRIGORA_STATIC_ASSERT(offsetof(UsbPanelScanJobInfo, jobDataLength) == 160, "offset");

#ifdef __cplusplus
}
#endif

#endif
