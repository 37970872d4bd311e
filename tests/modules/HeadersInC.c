/* Whatever comes first settles what the headers of the system offer to those behind it. */
#include <stdio.h>

#include "tests/modules/HeadersInC.h"

#include "modules/button_manager.h"
#include "modules/job_interface.h"
#include "modules/network_scan.h"
#include "modules/panel_driver.h"
#include "modules/usb_scan.h"

#define GIVE(record)                                                                                         \
    do {                                                                                                     \
        memcpy(bytes, &(record), sizeof(record));                                                            \
        return sizeof(record);                                                                               \
    } while (0)

size_t recordFilledInC(int number, unsigned char* bytes) {
    const _NSMDiscovery discovery = {.reserved = {1, 2},
                                     .productID = 0x11121314,
                                     .versionInformation = 0x21222324,
                                     .ipAddress = 0x31323334};
    const NSMScanRequest request = {
        .productID = "P", .modelName = "M", .ipAddress = "I", .eventStatus = 0x01020304};
    const _PSMLPANELSCANJOBINFO job = {.productID = "P",
                                       .ipAddress = "I",
                                       .hardwareAddress = "ABCDEFGHIJKL",
                                       .jobIndex = 1,
                                       .capabilityFlags = 2,
                                       .command = 3,
                                       .timeout = 4,
                                       .protocolVersion = 0x0506};
    const PanelOpenBlock block = {
        .connectionKind = 2, .ipAddress = "1.2.3.4", .progressCallback = 0x41424344};
    const PanelJobHeader header = {.passwordKind = PANEL_PASSWORD_MD5, .password = "digestdigestdige"};
    const PanelJobEntry entry = {.wcJobName = 0x51525354,
                                 .ucJobNumber = 1,
                                 .jobFlags = 2,
                                 .ucImageType = 3,
                                 .ucResolution = 4,
                                 .usCustomResolution = 0x0605,
                                 .ucScanningDevice = 7,
                                 .ucDocumentSize = 8,
                                 .ucSaveFormat = 9,
                                 .destinationType = 10};
    const stRecvJobData choices = {.ucImageType = 1,
                                   .ucResolution = 2,
                                   .ucScanningDevice = 3,
                                   .ucDocumentSize = 4,
                                   .ucDocumentOrientation = 5,
                                   .ucSaveFormat = 6,
                                   .ucScanToNo = 7,
                                   .ucPrintNum = 8};
    const UsbPanelScanJobInfo usb = {.hardwareAddress = "ABCDEFGHIJKL",
                                     .jobIndex = 1,
                                     .capabilityFlags = 2,
                                     .command = 3,
                                     .timeout = 4,
                                     .protocolVersion = 5,
                                     .jobData = 0x61626364,
                                     .jobDataLength = 6};
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
