// The simulated network-scan module. Its scanners are the commands on "netscan.sock": those of
// PanelCommands.h, and
//
//     announce   a scanner announces itself with productID, version and ip (null: it tells none)
//     error      reports "text" with the numbers "code" and "detail"
//
// The answer has "results", what the agent answered to each call-back.

#include "modules/network_scan.h"
#include "simulators/simulation/CommandChannel.h"
#include "simulators/simulation/LowBlock.h"
#include "simulators/simulation/PanelCommands.h"

#include <mutex>

namespace trigora::simulators {
namespace {

constexpr const char* module = "NetScanBundle";

/// What the agent handed to NSMStartService.
struct CallBacks {
    NSMDiscoveryCallback discovery = nullptr;
    NSMEventCallback event = nullptr;
    NSMErrorCallback error = nullptr;
    void* discoveryContext = nullptr;
    void* eventContext = nullptr;
    void* errorContext = nullptr;
};

/// An announcement with the texts that it refers to.
class Announcement {
public:
    explicit Announcement(const json& command) {
        record_.productID = put(textAt(command, "productID").value_or(defaultProductID));
        record_.versionInformation = put(textAt(command, "version").value_or("Ver 1.10"));
        const auto address = command.find("ip");
        if (address == command.end() || !address->is_null()) {
            record_.ipAddress = put(textAt(command, "ip").value_or(defaultAddress));
        }
    }
    const _NSMDiscovery& record() const { return record_; }

private:
    /// 0 when there is no room for the text.
    address32 put(const std::string& text) {
        if (texts_.bytes() == nullptr || text.size() + 1 > texts_.size() - used_) {
            return 0;
        }
        std::uint8_t* place = texts_.bytes() + used_;
        std::memcpy(place, text.c_str(), text.size() + 1);
        used_ += text.size() + 1;
        return trigora_address32(place);
    }

    LowBlock texts_{std::size_t{16} << 10};
    std::size_t used_ = 0;
    _NSMDiscovery record_{};
};

NSMScanRequest scanRequestOf(const json& command) {
    NSMScanRequest request{};
    setField(request.productID, textAt(command, "productID").value_or(defaultProductID));
    setField(request.modelName, textAt(command, "model").value_or(""));
    setField(request.ipAddress, textAt(command, "ip").value_or(defaultAddress));
    request.eventStatus = static_cast<std::int32_t>(integerAt(command, "button", 1));
    return request;
}

_PSMLPANELSCANJOBINFO jobRecordOf(const json& command, const PanelEvent& event) {
    _PSMLPANELSCANJOBINFO record{};
    setField(record.productID, textAt(command, "productID").value_or(defaultProductID));
    setField(record.ipAddress, textAt(command, "ip").value_or(defaultAddress));
    setJobFields(record, command, event);
    return record;
}

class NetworkScanSimulator {
public:
    static NetworkScanSimulator& instance() {
        static NetworkScanSimulator simulator;
        return simulator;
    }

    bool start(const CallBacks& callBacks) {
        const std::lock_guard lock(mutex_);
        callBacks_ = callBacks;
        return channel_.isRunning() ||
               channel_.start([this](const json& command) { return handle(command); });
    }

    void stop() {
        const std::lock_guard lock(mutex_);
        channel_.stop();
    }

private:
    // The call-backs change only while none of the channel's threads runs, except when a service that runs
    // is started again with other ones, which the agent never does.
    json handle(const json& command) {
        const std::string name = textAt(command, "command").value_or("");
        if (name == "announce") {
            return announce(command);
        }
        if (name == "error") {
            return reportError(command);
        }
        const std::optional<PanelEvent> event = panelEventOf(command);
        return event ? report(command, *event) : json{{"error", "there is no command " + name}};
    }

    json announce(const json& command) {
        const Announcement announcement(command);
        const bool hasRecord = !integerAt(command, "withoutRecord", 0);
        return results(command, [&] {
            return callBacks_.discovery(hasRecord ? &announcement.record() : nullptr,
                                        callBacks_.discoveryContext);
        });
    }

    json reportError(const json& command) {
        const std::optional<std::string> text = textAt(command, "text");
        return results(command, [&] {
            return callBacks_.error(static_cast<std::int32_t>(integerAt(command, "code", 0)),
                                    static_cast<std::int32_t>(integerAt(command, "detail", 0)),
                                    text ? text->c_str() : nullptr, callBacks_.errorContext);
        });
    }

    json report(const json& command, const PanelEvent& event) {
        if (command.contains("choices")) {
            writeObject("choices.json", command["choices"]);
        }
        const bool hasRecord = !integerAt(command, "withoutRecord", 0);
        if (event.kind == NSM_EVENT_SIMPLE_SCAN) {
            return results(command, [&] {
                NSMScanRequest request = scanRequestOf(command);
                return callEvent(event.kind, hasRecord ? &request : nullptr);
            });
        }
        return results(command, [&] {
            _PSMLPANELSCANJOBINFO record = jobRecordOf(command, event);
            return callEvent(event.kind, hasRecord ? &record : nullptr);
        });
    }

    std::int32_t callEvent(std::int32_t kind, void* record) const {
        return callBacks_.event(nullptr, kind, record, 0, callBacks_.eventContext);
    }

    json results(const json& command, const std::function<std::int32_t()>& call) const {
        return {{"results", callBack(
                                command, [this] { return channel_.isStopping(); }, call)}};
    }

    std::mutex mutex_;
    CallBacks callBacks_;
    CommandChannel channel_{"netscan.sock"};
};

std::int32_t NSMInitial() { return answerCall(module, "NSMInitial", {}, 1); }

std::int32_t NSMTerminal() { return answerCall(module, "NSMTerminal", {}, 1); }

std::int32_t NSMStartService(NSMDiscoveryCallback discovery, NSMEventCallback event, NSMErrorCallback error,
                             void* discoveryContext, void* eventContext, void* errorContext) {
    const std::int32_t result = answerCall(module, "NSMStartService", {}, 1);
    const bool isComplete = discovery != nullptr && event != nullptr && error != nullptr;
    if (result != 1 || !isComplete) {
        return isComplete ? result : 0;
    }
    const bool isStarted = NetworkScanSimulator::instance().start(
        {discovery, event, error, discoveryContext, eventContext, errorContext});
    return isStarted ? 1 : 0;
}

/// An answer other than 1 leaves the service running.
std::int32_t NSMStopService() {
    const std::int32_t result = answerCall(module, "NSMStopService", {}, 1);
    if (result == 1) {
        NetworkScanSimulator::instance().stop();
    }
    return result;
}

std::int32_t NSMSetPCName(const char* name, std::uint32_t count) {
    return answerCall(module, "NSMSetPCName", {{"name", textOrNull(name)}, {"count", count}}, 1);
}

std::int32_t NSMGetPCName(char*, std::uint32_t*) { return answerCall(module, "NSMGetPCName", {}, 0); }

} // namespace
} // namespace trigora::simulators

TRIGORA_SIMULATED_FUNCTION(NSMInitial, NSMInitialFunction)
TRIGORA_SIMULATED_FUNCTION(NSMStartService, NSMStartServiceFunction)
TRIGORA_SIMULATED_FUNCTION(NSMStopService, NSMStopServiceFunction)
TRIGORA_SIMULATED_FUNCTION(NSMSetPCName, NSMSetPCNameFunction)
TRIGORA_SIMULATED_FUNCTION(NSMTerminal, NSMTerminalFunction)
TRIGORA_SIMULATED_FUNCTION(NSMGetPCName, NSMGetPCNameFunction)
