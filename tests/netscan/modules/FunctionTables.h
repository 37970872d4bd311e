#pragma once

#include "modules/module_class.h"
#include "modules/network_scan.h"
#include "modules/panel_driver.h"
#include "modules/usb_scan.h"

#include <cstdint>

/// What the test modules do. Each exports the functions of its kind and a variable "functions" of one of
/// these types; the exported functions call the variable's, which the test fills in.
namespace trigora::test {

struct NetScanFunctions {
    NSMInitialFunction* initial;
    NSMStartServiceFunction* startService;
    NSMStopServiceFunction* stopService;
    NSMSetPCNameFunction* setPCName;
};

struct PanelDriverFunctions {
    PDOpenFunction* open;
    PDLockFunction* lock;
    PDSendJobDataFunction* sendJobData;
    PDSendJobData2Function* sendJobData2;
    PDRecvJobDataFunction* recvJobData;
    PDUnLockFunction* unLock;
    PDCloseFunction* close;
    PDCreateJobData2Function* createJobData2;
    PDDecodeDataFunction* decodeData;
};

struct UsbScanFunctions {
    StartEventFunction* startEvent;
};

struct ClassFunctions {
    TrigoraClassNamedFunction* classNamed;
};

} // namespace trigora::test
