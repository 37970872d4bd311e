// What the scan modules, the panel driver and the job interface hand over: a record, the choices at the
// panel, and jobs as JSON.
//
// Input: what it is (the kind of a network panel's event, 8 more for a USB panel's, 15 for an announcement),
// its record (for an announcement: three texts of 40 bytes), the choices, then the jobs, a password and 12
// characters of hardware address, with a byte 0x1E in between.

#include "files/InstalledPaths.h"
#include "fuzz/FuzzInput.h"
#include "netscan/exchange/PanelJobExchange.h"
#include "netscan/panel/PanelJobList.h"
#include "netscan/panel/PanelRecords.h"
#include "netscan/settings/TgaNetworkSettingsManager.h"
#include "platform/Formats.h"
#include "tests/netscan/ModuleTest.h"
#include "usbscan/settings/TgaUsbSettingsManager.h"

#include <algorithm>
#include <memory>

namespace trigora::fuzz {
namespace {

template <typename Record> Record recordFrom(FuzzInput& input) {
    Record record{};
    const Data bytes = input.bytes(sizeof record);
    std::copy(bytes.begin(), bytes.end(), reinterpret_cast<std::uint8_t*>(&record));
    return record;
}

class PanelRecords : public test::ModuleTest {
public:
    PanelRecords() {
        installPanelDriver();
        installJobInterface();
        panel.encodedAt = trigora_pointer(lowText("list"));
        for (address32& text : announcedTexts_) {
            text = lowText(std::string(textSize, ' '));
        }
    }

    void handle(FuzzInput& input) {
        constexpr int usb = 8;
        constexpr int announcement = 15;
        const int kind = input.byte() % (announcement + 1);
        if (kind == NSM_EVENT_SIMPLE_SCAN) {
            auto request = recordFrom<NSMScanRequest>(input);
            handleRest(input);
            answer(eventCallback(nullptr, kind, &request, 0, context()));
        } else if (kind == announcement) {
            announce(input);
        } else if (kind >= usb) {
            auto record = recordFrom<UsbPanelScanJobInfo>(input);
            record.jobDataLength %= 4096; // what is readable there is read
            record.jobData %= endOfOwnMemory;
            handleRest(input);
            answer(UsbEventCallbackProc(nullptr, kind - usb, &record, 0,
                                        static_cast<PanelJobFlags*>(usb_.get())));
        } else {
            auto record = recordFrom<_PSMLPANELSCANJOBINFO>(input);
            char address[8] = {};
            require(GetIpAddress(record, address, sizeof address) == address && address[7] == 0,
                    "an address is cut to its buffer");
            handleRest(input);
            answer(eventCallback(nullptr, kind, &record, 0, context()));
        }
        require(objectsOut == 0, "what the job interface gave is given back");
        loop.runPending();
        journal.take();
    }

private:
    void TestBody() override {}
    PanelEventContext* context() { return network_.get(); }

    static void answer(std::int32_t result) {
        require(result == PANEL_RESULT_DONE || result == PANEL_RESULT_FAILED || result == PANEL_RESULT_BUSY,
                "an event is answered");
    }

    void announce(FuzzInput& input) {
        for (const address32 text : announcedTexts_) {
            const std::string bytes = input.text(textSize);
            auto* const place = static_cast<char*>(trigora_pointer(text));
            std::fill_n(place, textSize, '\0');
            std::copy(bytes.begin(), bytes.end(), place);
        }
        const _NSMDiscovery discovery{{}, announcedTexts_[0], announcedTexts_[1], announcedTexts_[2]};
        const std::int32_t result = discoveryCallBack(&discovery, context());
        require(result == NSM_SCANNER_SERVED || result == NSM_SCANNER_NOT_SERVED,
                "an announcement is answered");
    }

    /// What stands behind every record: it is what the other modules give.
    void handleRest(FuzzInput& input) {
        network_->setDSName("Driver", "PRODUCT");
        panel.choices = recordFrom<stRecvJobData>(input);
        jobs.list = input.part();
        jobs.password = input.part();
        char hardwareAddress[12] = {};
        const Data address = input.bytes(sizeof hardwareAddress);
        std::copy(address.begin(), address.end(), hardwareAddress);
        const auto list = platform::current().json.read(jobs.list);
        makeLists(list, *jobs.password, hardwareAddress);
        if (list) {
            require(platform::current().json.read(platform::current().json.write(*list)).has_value(),
                    "what was read can be written");
        }
    }

    static void makeLists(const std::optional<Value>& list, const std::string& password,
                          const char* hardwareAddress) {
        std::vector<Dictionary> jobs;
        if (list && list->array() != nullptr) {
            for (const Value& job : *list->array()) {
                jobs.push_back(job.dictionary() == nullptr ? Dictionary() : *job.dictionary());
            }
        }
        for (const bool isOld : {false, true}) {
            auto made = PanelJobList::withJobs(jobs, isOld, true);
            require(made.has_value(), "there is memory for a list");
            require(made->count() == std::min(jobs.size(), PanelJobList::mostJobs), "30 jobs at most");
            require(made->entries()[made->count()].wcJobName == 0, "a zeroed entry follows");
            made->setDigestedPassword(hardwareAddress, password);
            require(made->setPlainPassword(password), "there is memory for a password");
        }
    }

    /// Behind it lies what AddressSanitizer keeps about the memory: the kernel can read it, which is what the
    /// agent asks, but a read by the program itself counts as a fault.
    static constexpr address32 endOfOwnMemory = 0x7FFF0000;
    static constexpr std::size_t textSize = 40;
    address32 announcedTexts_[3] = {};
    std::shared_ptr<TgaNetworkSettingsManager> network_ =
        TgaNetworkSettingsManager::sharedNetworkSettingsManager();
    std::shared_ptr<TgaUsbSettingsManager> usb_ = TgaUsbSettingsManager::sharedUsbSettingsManager();
};

/// One for all inputs, because a module that has been loaded stays loaded. It has handled an input of each
/// kind before it is there, so that everything it uses is made before it and goes after it.
std::unique_ptr<PanelRecords> makeRecords() {
    auto records = std::make_unique<PanelRecords>();
    for (std::uint8_t kind = 0; kind < 16; ++kind) {
        FuzzInput input(&kind, 1);
        records->handle(input);
    }
    return records;
}

} // namespace
} // namespace trigora::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    static const std::unique_ptr<trigora::fuzz::PanelRecords> records = trigora::fuzz::makeRecords();
    trigora::fuzz::FuzzInput input(bytes, size);
    records->handle(input);
    return 0;
}
