#include "netscan/PanelDriver.h"

#include "agent/PSlog.h"
#include "files/InstalledPaths.h"
#include "platform/Bundles.h"
#include "platform/LowMemory.h"
#include "platform/Platform.h"

#include <algorithm>

namespace trigora {

namespace {

/// The driver's progress reports are of no interest.
void pdCallback(std::uint32_t, void*, std::uint32_t) {}

/// Panels below this version get the old kind of list.
constexpr std::int32_t firstNewListVersion = 110;

PanelOpenBlock openBlockFor(const std::string& ipAddress, address32 progressCallback) {
    PanelOpenBlock block{};
    block.connectionKind = 2;
    const std::size_t length = std::min(ipAddress.size(), sizeof block.ipAddress - 1);
    std::copy_n(ipAddress.begin(), length, block.ipAddress);
    block.progressCallback = progressCallback;
    return block;
}

} // namespace

bool isOldJobList(std::int32_t protocolVersion) { return protocolVersion < firstNewListVersion; }

std::shared_ptr<PanelDriver> PanelDriver::create() {
    std::shared_ptr<platform::Bundle> module = platform::current().bundles.create(paths::panelDriverModule());
    if (!module) {
        return nullptr;
    }
    const address32 progressCallback =
        platform::current().lowMemory.addressOfFunction(reinterpret_cast<void (*)()>(&pdCallback));
    return std::make_shared<PanelDriver>(std::move(module), progressCallback);
}

bool PanelDriver::canOpen() const {
    if (progressCallback_ == 0) {
        PSlog("%s [Line %d] no address below 4 GiB for pdCallback", "PanelDriver", __LINE__);
    }
    return progressCallback_ != 0;
}

bool PanelDriver::open(const std::string& ipAddress, PanelConnection& connection) const {
    auto* open = platform::functionNamed<PDOpenFunction>(*module_, "PDOpen");
    const PanelOpenBlock block = openBlockFor(ipAddress, progressCallback_);
    return open != nullptr && open(&block, &connection.handle, &connection.context) != 0;
}

bool PanelDriver::lock(PanelConnection& connection) const {
    auto* lock = platform::functionNamed<PDLockFunction>(*module_, "PDLock");
    return lock != nullptr && lock(connection.handle, &connection.context) != 0;
}

void PanelDriver::unlock(PanelConnection& connection) const {
    if (auto* unlock = platform::functionNamed<PDUnLockFunction>(*module_, "PDUnLock")) {
        unlock(connection.handle, &connection.context);
    }
}

void PanelDriver::close(PanelConnection& connection) const {
    if (auto* close = platform::functionNamed<PDCloseFunction>(*module_, "PDClose")) {
        close(connection.handle, &connection.context);
    }
}

bool PanelDriver::send(PanelConnection& connection, const PanelJobList& list,
                       std::int32_t protocolVersion) const {
    if (isOldJobList(protocolVersion)) {
        auto* send = platform::functionNamed<PDSendJobDataFunction>(*module_, "PDSendJobData");
        return send != nullptr && send(connection.handle, &list.header(), 0, PANEL_OLD_JOB_LIST, list.count(),
                                       list.entries(), &connection.context) != 0;
    }
    auto* send = platform::functionNamed<PDSendJobData2Function>(*module_, "PDSendJobData2");
    return send != nullptr &&
           send(connection.handle, &list.header(), 0, static_cast<std::uint16_t>(protocolVersion),
                list.count(), list.entries(), &connection.context) != 0;
}

std::optional<stRecvJobData> PanelDriver::choicesAt(const std::string& ipAddress) const {
    PanelConnection connection;
    if (!open(ipAddress, connection)) {
        return std::nullopt;
    }
    stRecvJobData choices{};
    if (lock(connection)) {
        if (auto* receive = platform::functionNamed<PDRecvJobDataFunction>(*module_, "PDRecvJobData")) {
            receive(connection.handle, &choices, &connection.context);
        }
        unlock(connection);
    }
    close(connection);
    return choices;
}

bool PanelDriver::canEncode() const { return module_->functionPointer("PDCreateJobData2") != nullptr; }

std::optional<EncodedJobData> PanelDriver::encode(const PanelJobList& list,
                                                  std::int32_t protocolVersion) const {
    void* data = nullptr;
    std::uint32_t length = 0;
    if (auto* encode = platform::functionNamed<PDCreateJobData2Function>(*module_, "PDCreateJobData2")) {
        encode(&list.header(), 0, static_cast<std::uint16_t>(protocolVersion), list.count(), list.entries(),
               &data, &length);
    }
    if (trigora_fits_address32(data) == 0) {
        return std::nullopt;
    }
    return EncodedJobData{trigora_address32(data), length};
}

bool PanelDriver::canDecode() const { return module_->functionPointer("PDDecodeData") != nullptr; }

stRecvJobData PanelDriver::decode(address32 data, std::uint32_t length) const {
    stRecvJobData choices{};
    if (auto* decode = platform::functionNamed<PDDecodeDataFunction>(*module_, "PDDecodeData")) {
        decode(&choices, trigora_pointer(data), length);
    }
    return choices;
}

} // namespace trigora
