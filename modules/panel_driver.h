/* The panel driver "PanelDriver": speaks to the control panel of a scanner, and turns job lists into the
 * panel's own encoding and the panel's choices back.
 *
 * It is the bundle "PanelDriver.bundle" among the resources of the agent's application, and exports the
 * functions below by name; each is optional. A connection is used by one thread from PDOpen to PDClose;
 * several connections may be open at once, on different threads. All integers are little-endian; address32
 * fields refer to memory below 4 GiB (trigora_memory.h).
 *
 * What the agent hands in stays where it is and as it is for the length of the connection: the open block,
 * and the header and entries of a list with all texts that they refer to, until PDClose has returned; where a
 * connection is given up without it, until the call that showed that (PDOpen, PDLock) has returned. What
 * PDCreateJobData2 and PDDecodeData are handed lives until they return.
 */
#ifndef TRIGORA_PANEL_DRIVER_H
#define TRIGORA_PANEL_DRIVER_H

#include "trigora_memory.h"

#ifdef __cplusplus
extern "C" {
#endif

/* Whom to connect to. */
typedef struct PanelOpenBlock {
    uint32_t connectionKind; /* always 2 */
    uint8_t reserved1[8];
    char ipAddress[64]; /* dotted decimal, NUL-terminated */
    uint8_t reserved2[64];
    address32 progressCallback; /* PanelProgressCallback; it does nothing */
    uint8_t reserved3[4];
} PanelOpenBlock;

typedef void (*PanelProgressCallback)(uint32_t, void*, uint32_t);

enum {
    PANEL_PASSWORD_NONE = 0,
    PANEL_PASSWORD_PLAIN = 1, /* the first 4 bytes are an address32 of NUL-terminated UTF-8 */
    PANEL_PASSWORD_MD5 = 2    /* 16 bytes of digest */
};

/* What protects a job list. */
typedef struct PanelJobHeader {
    uint32_t passwordKind; /* PANEL_PASSWORD_… */
    uint8_t password[16];
} PanelJobHeader;

/* Bits of a job's flags, set in new lists only. */
enum { PANEL_JOB_PROHIBITS_EDIT = 1, PANEL_JOB_CONTINUES_SCANNING = 2 };

/* One job as the panel shows it. Codes:
 *   ucImageType       0 automatic and others, 1, 2 as the job's pixel data type, 3 for its -1
 *   ucResolution      0 for 200 dpi, 1 for 300, 2 for 600, 3 for any other
 *   ucScanningDevice  0 table, 1 feeder one side, 2 feeder both sides, 3 automatic
 *   ucSaveFormat      0 JPEG, 1 TIFF, 2 PDF, 5 PNG, 6 Word, 7 Excel, 8 PowerPoint
 *   destinationType   0 mail, 1 local, 2 print, 3 FTP, 5 WebDAV, 6 others */
typedef struct PanelJobEntry {
    address32 wcJobName; /* NUL-terminated UTF-8 */
    uint8_t ucJobNumber; /* from 1 */
    uint8_t jobFlags;    /* PANEL_JOB_… */
    uint8_t ucImageType;
    uint8_t ucResolution;
    uint16_t usCustomResolution; /* dots per inch */
    uint8_t ucScanningDevice;
    uint8_t ucDocumentSize;
    uint8_t reserved1;
    uint8_t ucSaveFormat;
    uint8_t destinationType;
    uint8_t reserved2;
    uint8_t reserved3[120];
} PanelJobEntry;

/* What the user chose at the panel; the codes are those of PanelJobEntry, read by the tables of the guide. */
typedef struct stRecvJobData {
    uint8_t ucImageType;
    uint8_t ucResolution;
    uint8_t ucScanningDevice;
    uint8_t ucDocumentSize;
    uint8_t ucDocumentOrientation; /* 1 landscape */
    uint8_t ucSaveFormat;
    uint8_t ucScanToNo;
    uint8_t ucPrintNum;
} stRecvJobData;

/* The list kind of "PDSendJobData". */
enum { PANEL_OLD_JOB_LIST = 0x809 };

/* Exported by the module as "PDOpen", "PDLock" and so on. The context word starts as 0 and is the module's
 * to use for the length of the connection. Non-zero results mean success. */
typedef uint8_t PDOpenFunction(const PanelOpenBlock* block, uint32_t* handle, uint32_t* context);
typedef uint8_t PDLockFunction(uint32_t handle, uint32_t* context);
/* The list has count entries and a zeroed one behind them. */
typedef uint8_t PDSendJobDataFunction(uint32_t handle, const PanelJobHeader* header, uint32_t reserved,
                                      uint32_t listKind, uint32_t count, const PanelJobEntry* entries,
                                      uint32_t* context);
typedef uint8_t PDSendJobData2Function(uint32_t handle, const PanelJobHeader* header, uint32_t reserved,
                                       uint16_t protocolVersion, uint32_t count, const PanelJobEntry* entries,
                                       uint32_t* context);
/* Fills in the choices, which start zeroed. */
typedef uint8_t PDRecvJobDataFunction(uint32_t handle, stRecvJobData* choices, uint32_t* context);
typedef uint8_t PDUnLockFunction(uint32_t handle, uint32_t* context);
typedef uint8_t PDCloseFunction(uint32_t handle, uint32_t* context);
/* Encodes a list without a connection. The encoded data must lie below 4 GiB; it belongs to the module,
 * which keeps it until the request that it was made for has been answered. */
typedef uint8_t PDCreateJobData2Function(const PanelJobHeader* header, uint32_t reserved,
                                         uint16_t protocolVersion, uint32_t count,
                                         const PanelJobEntry* entries, void** data, uint32_t* length);
/* Decodes the panel's answer; called for every command of a job. Data is null and length 0 where there is
 * none. */
typedef uint8_t PDDecodeDataFunction(stRecvJobData* choices, const void* data, uint32_t length);

TRIGORA_STATIC_ASSERT(sizeof(PanelOpenBlock) == 148, "size");
TRIGORA_STATIC_ASSERT(offsetof(PanelOpenBlock, ipAddress) == 12, "offset");
TRIGORA_STATIC_ASSERT(offsetof(PanelOpenBlock, progressCallback) == 140, "offset");
TRIGORA_STATIC_ASSERT(sizeof(PanelJobHeader) == 20, "size");
TRIGORA_STATIC_ASSERT(offsetof(PanelJobHeader, password) == 4, "offset");
TRIGORA_STATIC_ASSERT(sizeof(PanelJobEntry) == 136, "size");
TRIGORA_STATIC_ASSERT(offsetof(PanelJobEntry, ucJobNumber) == 4, "offset");
TRIGORA_STATIC_ASSERT(offsetof(PanelJobEntry, jobFlags) == 5, "offset");
TRIGORA_STATIC_ASSERT(offsetof(PanelJobEntry, ucImageType) == 6, "offset");
TRIGORA_STATIC_ASSERT(offsetof(PanelJobEntry, ucResolution) == 7, "offset");
TRIGORA_STATIC_ASSERT(offsetof(PanelJobEntry, usCustomResolution) == 8, "offset");
TRIGORA_STATIC_ASSERT(offsetof(PanelJobEntry, ucScanningDevice) == 10, "offset");
TRIGORA_STATIC_ASSERT(offsetof(PanelJobEntry, ucDocumentSize) == 11, "offset");
TRIGORA_STATIC_ASSERT(offsetof(PanelJobEntry, ucSaveFormat) == 13, "offset");
TRIGORA_STATIC_ASSERT(offsetof(PanelJobEntry, destinationType) == 14, "offset");
TRIGORA_STATIC_ASSERT(sizeof(stRecvJobData) == 8, "size");

#ifdef __cplusplus
}
#endif

#endif
