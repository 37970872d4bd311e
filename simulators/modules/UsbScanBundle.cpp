// The simulated USB push-scan module. What happens at the panel of the scanner that the agent started it for
// are the commands on "usbscan.sock", those of PanelCommands.h except "scan". The answer has "results", what
// the agent answered to each call-back, and for a list "jobData" in hexadecimal.

#include "modules/usb_scan.h"
#include "simulators/simulation/CommandChannel.h"
#include "simulators/simulation/LowBlock.h"
#include "simulators/simulation/PanelCommands.h"

#include <algorithm>
#include <mutex>

namespace trigora::simulators {
namespace {

constexpr const char* module = "UsbScanBundle";
constexpr std::uint32_t mostJobData = 1U << 20;

struct Scanner {
    std::uint32_t productID = 0;
    UsbEventCallback callBack = nullptr;
    void* context = nullptr;
};

class UsbScanSimulator {
public:
    static UsbScanSimulator& instance() {
        static UsbScanSimulator simulator;
        return simulator;
    }

    /// The scanner that was started last is the one whose panel is used.
    bool start(const Scanner& scanner) {
        {
            const std::lock_guard lock(mutex_);
            scanner_ = scanner;
        }
        return channel_.isRunning() ||
               channel_.start([this](const json& command) { return handle(command); });
    }

private:
    json handle(const json& command) {
        const std::optional<PanelEvent> event = panelEventOf(command);
        if (!event || event->kind == NSM_EVENT_SIMPLE_SCAN) {
            return {{"error", "there is no command " + textAt(command, "command").value_or("")}};
        }
        const Scanner scanner = currentScanner();
        const auto given = textAt(command, "jobData");
        const auto jobData =
            given ? bytesOf(*given) : encodedChoices(choicesOf(command.value("choices", json())));
        if (!jobData || jobData->size() > mostJobData) {
            return {{"error", "jobData is no hexadecimal text"}};
        }
        const LowBlock sent(jobData->size() + 1);
        if (sent.bytes() == nullptr) {
            return {{"error", "no memory below 4 GiB"}};
        }
        std::copy(jobData->begin(), jobData->end(), sent.bytes());
        std::mutex mutex;
        json answer{{"pid", scanner.productID}};
        answer["results"] = callBack(
            command, [this] { return channel_.isStopping(); },
            [&] {
                UsbPanelScanJobInfo record = recordOf(command, *event, sent, jobData->size());
                const bool hasRecord = !integerAt(command, "withoutRecord", 0);
                const std::int32_t result =
                    scanner.callBack(nullptr, event->kind, hasRecord ? &record : nullptr, 0, scanner.context);
                if (event->kind == PSML_STRUCT_PANELSCAN_JOBLIST) {
                    const std::lock_guard lock(mutex);
                    answer["jobData"] = jobDataOf(record);
                }
                return result;
            });
        return answer;
    }

    static UsbPanelScanJobInfo recordOf(const json& command, const PanelEvent& event, const LowBlock& jobData,
                                        std::size_t size) {
        UsbPanelScanJobInfo record{};
        setJobFields(record, command, event);
        if (event.kind == PSML_STRUCT_PANELSCAN_START && size > 0) {
            record.jobData = trigora_address32(jobData.bytes());
            record.jobDataLength = static_cast<std::uint32_t>(size);
        }
        return record;
    }

    static json jobDataOf(const UsbPanelScanJobInfo& record) {
        const bool isReadable = record.jobData != 0 && record.jobDataLength <= mostJobData;
        return isReadable ? json(hexadecimal(trigora_pointer(record.jobData), record.jobDataLength))
                          : json(nullptr);
    }

    Scanner currentScanner() {
        const std::lock_guard lock(mutex_);
        return scanner_;
    }

    std::mutex mutex_;
    Scanner scanner_;
    CommandChannel channel_{"usbscan.sock"};
};

void StartEvent(std::uint32_t productID, std::uint32_t reserved, UsbEventCallback callback, void* context) {
    const bool isStarted =
        callback != nullptr && UsbScanSimulator::instance().start({productID, callback, context});
    answerCall(module, "StartEvent", {{"productID", productID}, {"reserved", reserved}}, isStarted ? 1 : 0);
}

} // namespace
} // namespace trigora::simulators

TRIGORA_SIMULATED_FUNCTION(StartEvent, StartEventFunction)
