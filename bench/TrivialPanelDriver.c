/* A panel driver without a panel: every function succeeds at once. */

#include "modules/panel_driver.h"

#define EXPORTED __attribute__((visibility("default")))

EXPORTED PDOpenFunction PDOpen;
EXPORTED PDLockFunction PDLock;
EXPORTED PDUnLockFunction PDUnLock;
EXPORTED PDCloseFunction PDClose;
EXPORTED PDSendJobData2Function PDSendJobData2;

/* Lists that have arrived whole, of thirty jobs. */
EXPORTED unsigned wholeLists;

uint8_t PDOpen(const PanelOpenBlock* block, uint32_t* handle, uint32_t* context) {
    *handle = 1;
    *context = 0;
    return block->ipAddress[0] != 0;
}

uint8_t PDLock(uint32_t handle, uint32_t* context) {
    (void)context;
    return handle == 1;
}

uint8_t PDUnLock(uint32_t handle, uint32_t* context) { return PDLock(handle, context); }

uint8_t PDClose(uint32_t handle, uint32_t* context) {
    (void)context;
    return handle == 1;
}

uint8_t PDSendJobData2(uint32_t handle, const PanelJobHeader* header, uint32_t reserved,
                       uint16_t protocolVersion, uint32_t count, const PanelJobEntry* entries,
                       uint32_t* context) {
    (void)header;
    (void)reserved;
    (void)protocolVersion;
    (void)context;
    wholeLists += count == 30 && entries[count].wcJobName == 0;
    return handle == 1 && entries[count].wcJobName == 0;
}
