#include "tests/netscan/modules/FunctionTables.h"

extern "C" {

trigora::test::UsbScanFunctions functions;

void StartEvent(std::uint32_t productID, std::uint32_t reserved, UsbEventCallback callback, void* context) {
    functions.startEvent(productID, reserved, callback, context);
}

} // extern "C"
