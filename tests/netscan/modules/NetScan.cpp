#include "tests/netscan/modules/FunctionTables.h"

extern "C" {

trigora::test::NetScanFunctions functions;

std::int32_t NSMStartService(NSMDiscoveryCallback discovery, NSMEventCallback event, NSMErrorCallback error,
                             void* discoveryContext, void* eventContext, void* errorContext) {
    return functions.startService(discovery, event, error, discoveryContext, eventContext, errorContext);
}

#ifndef ONLY_START
std::int32_t NSMInitial() { return functions.initial(); }
std::int32_t NSMStopService() { return functions.stopService(); }
std::int32_t NSMSetPCName(const char* name, std::uint32_t count) { return functions.setPCName(name, count); }
#endif

} // extern "C"
