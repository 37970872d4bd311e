#include "tests/netscan/modules/FunctionTables.h"

extern "C" {

trigora::test::PanelDriverFunctions functions;

std::uint8_t PDOpen(const PanelOpenBlock* block, std::uint32_t* handle, std::uint32_t* context) {
    return functions.open(block, handle, context);
}
std::uint8_t PDLock(std::uint32_t handle, std::uint32_t* context) { return functions.lock(handle, context); }
#ifndef WITHOUT_SEND
std::uint8_t PDSendJobData(std::uint32_t handle, const PanelJobHeader* header, std::uint32_t reserved,
                           std::uint32_t listKind, std::uint32_t count, const PanelJobEntry* entries,
                           std::uint32_t* context) {
    return functions.sendJobData(handle, header, reserved, listKind, count, entries, context);
}
std::uint8_t PDSendJobData2(std::uint32_t handle, const PanelJobHeader* header, std::uint32_t reserved,
                            std::uint16_t protocolVersion, std::uint32_t count, const PanelJobEntry* entries,
                            std::uint32_t* context) {
    return functions.sendJobData2(handle, header, reserved, protocolVersion, count, entries, context);
}
#endif
std::uint8_t PDRecvJobData(std::uint32_t handle, stRecvJobData* choices, std::uint32_t* context) {
    return functions.recvJobData(handle, choices, context);
}
std::uint8_t PDUnLock(std::uint32_t handle, std::uint32_t* context) {
    return functions.unLock(handle, context);
}
std::uint8_t PDClose(std::uint32_t handle, std::uint32_t* context) {
    return functions.close(handle, context);
}
std::uint8_t PDCreateJobData2(const PanelJobHeader* header, std::uint32_t reserved,
                              std::uint16_t protocolVersion, std::uint32_t count,
                              const PanelJobEntry* entries, void** data, std::uint32_t* length) {
    return functions.createJobData2(header, reserved, protocolVersion, count, entries, data, length);
}
std::uint8_t PDDecodeData(stRecvJobData* choices, const void* data, std::uint32_t length) {
    return functions.decodeData(choices, data, length);
}

} // extern "C"
