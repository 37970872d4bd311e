#include "netscan/panel/PanelDriver.h"

#include "agent/log/Guarded.h"
#include "agent/log/PSlog.h"
#include "files/InstalledPaths.h"
#include "platform/Bundles.h"
#include "platform/LowMemory.h"
#include "platform/Platform.h"

#include <algorithm>
#include <utility>

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
        PSlog("panelBundle is null");
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

std::optional<stRecvJobData> PanelDriver::choicesAt(const std::string& ipAddress) const {
    PanelConnection connection(*this);
    if (!connection.open(ipAddress)) {
        return std::nullopt;
    }
    return connection.lock() ? connection.receive() : stRecvJobData{};
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
    const std::uint64_t end = reinterpret_cast<std::uintptr_t>(data) + std::uint64_t{length};
    if (trigora_fits_address32(data) == 0 || end > std::uint64_t{UINT32_MAX} + 1) {
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

PanelConnection::~PanelConnection() {
    // One by one: a driver that fails to unlock is closed all the same.
    guarded("PDUnLock", [this] {
        auto* unlock = isLocked_ ? functionNamed<PDUnLockFunction>("PDUnLock") : nullptr;
        if (unlock != nullptr) {
            unlock(handle_, &context_);
        }
    });
    guarded("PDClose", [this] {
        auto* close = isOpen_ ? functionNamed<PDCloseFunction>("PDClose") : nullptr;
        if (close != nullptr) {
            close(handle_, &context_);
        }
    });
}

template <typename Function> Function* PanelConnection::functionNamed(const char* name) const {
    return platform::functionNamed<Function>(*driver_.module_, name);
}

bool PanelConnection::open(const std::string& ipAddress) {
    auto* open = functionNamed<PDOpenFunction>("PDOpen");
    block_ = openBlockFor(ipAddress, driver_.progressCallback_);
    isOpen_ = open != nullptr && open(&block_, &handle_, &context_) != 0;
    return isOpen_;
}

bool PanelConnection::lock() {
    auto* lock = functionNamed<PDLockFunction>("PDLock");
    isLocked_ = lock != nullptr && lock(handle_, &context_) != 0;
    return isLocked_;
}

bool PanelConnection::send(PanelJobList list, std::int32_t protocolVersion) {
    const PanelJobList& kept = list_.emplace(std::move(list));
    if (isOldJobList(protocolVersion)) {
        auto* send = functionNamed<PDSendJobDataFunction>("PDSendJobData");
        return send != nullptr && send(handle_, &kept.header(), 0, PANEL_OLD_JOB_LIST, kept.count(),
                                       kept.entries(), &context_) != 0;
    }
    auto* send = functionNamed<PDSendJobData2Function>("PDSendJobData2");
    return send != nullptr && send(handle_, &kept.header(), 0, static_cast<std::uint16_t>(protocolVersion),
                                   kept.count(), kept.entries(), &context_) != 0;
}

stRecvJobData PanelConnection::receive() {
    choices_ = {};
    if (auto* receive = functionNamed<PDRecvJobDataFunction>("PDRecvJobData")) {
        receive(handle_, &choices_, &context_);
    }
    return choices_;
}

} // namespace trigora
