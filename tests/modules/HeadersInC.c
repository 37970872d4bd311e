#include "tests/modules/HeadersInC.h"

#include "modules/button_manager.h"
#include "modules/job_interface.h"
#include "modules/network_scan.h"
#include "modules/panel_driver.h"
#include "modules/usb_scan.h"

#define GIVE(record)                                                                                          \
    do {                                                                                                      \
        memcpy(bytes, &(record), sizeof(record));                                                             \
        return sizeof(record);                                                                                \
    } while (0)

size_t recordFilledInC(int number, unsigned char* bytes) {
    const _NSMDiscovery discovery = {{1, 2}, 0x11121314, 0x21222324, 0x31323334};
    const NSMScanRequest request = {"P", "M", "I", 0x01020304};
    const _PSMLPANELSCANJOBINFO job = {"P", "I", "ABCDEFGHIJKL", {0}, 1, 2, 3, 4, 0x0506};
    const PanelOpenBlock block = {2, {0}, "1.2.3.4", {0}, 0x41424344, {0}};
    const PanelJobHeader header = {PANEL_PASSWORD_MD5, "digestdigestdige"};
    const PanelJobEntry entry = {0x51525354, 1, 2, 3, 4, 0x0605, 7, 8, 0, 9, 10, 0, {0}};
    const stRecvJobData choices = {1, 2, 3, 4, 5, 6, 7, 8};
    const UsbPanelScanJobInfo usb = {{0}, "ABCDEFGHIJKL", {0}, 1, 2, 3, 4, 5, 0x61626364, 6};
    switch (number) {
    case 0:
        GIVE(discovery);
    case 1:
        GIVE(request);
    case 2:
        GIVE(job);
    case 3:
        GIVE(block);
    case 4:
        GIVE(header);
    case 5:
        GIVE(entry);
    case 6:
        GIVE(choices);
    case 7:
        GIVE(usb);
    default:
        return 0;
    }
}

int areTablesPacked(void) {
    return sizeof(SVJobInterfaceClass) == sizeof(TrigoraClassHeader) + 15 * sizeof(void*) &&
           sizeof(ButtonManagerClass) == sizeof(TrigoraClassHeader) + 7 * sizeof(void*);
}
