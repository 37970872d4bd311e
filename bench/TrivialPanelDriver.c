/* A panel driver without a panel: every function succeeds at once. */

#include "modules/panel_driver.h"

#define EXPORTED __attribute__((visibility("default")))

EXPORTED PDOpenFunction PDOpen;
EXPORTED PDCloseFunction PDClose;
EXPORTED PDSendJobData2Function PDSendJobData2;

uint8_t PDOpen(const PanelOpenBlock* block, uint32_t* handle, uint32_t* context) {
    *handle = 1;
    *context = 0;
    return block->ipAddress[0] != 0;
}

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
    return handle == 1 && entries[count].wcJobName == 0;
}
