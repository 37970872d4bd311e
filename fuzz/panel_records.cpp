// What the network-scan module and the job interface hand over: a record of a panel event, and jobs as JSON.
//
// Input: kind of the event, the record, then the jobs, a password and 12 characters of hardware address, with
// a byte 0x1E in between.

#include "files/InstalledPaths.h"
#include "fuzz/FuzzInput.h"
#include "netscan/PanelChoices.h"
#include "netscan/PanelJobExchange.h"
#include "netscan/PanelJobList.h"
#include "netscan/PanelRecords.h"
#include "netscan/TgaNetworkSettingsManager.h"
#include "platform/Formats.h"
#include "tests/fakes/PlatformTest.h"

#include <algorithm>

namespace trigora::fuzz {
namespace {

template <typename Record> Record recordFrom(FuzzInput& input) {
    Record record{};
    const Data bytes = input.bytes(sizeof record);
    std::copy(bytes.begin(), bytes.end(), reinterpret_cast<std::uint8_t*>(&record));
    return record;
}

class PanelRecords : public test::PlatformTest {
public:
    void handleEvent(FuzzInput& input) {
        const auto manager = TgaNetworkSettingsManager::sharedNetworkSettingsManager();
        manager->setDSName("Driver", "PRODUCT");
        PanelEventContext* context = manager.get();
        const std::int32_t kind = input.byte() % 8;
        if (kind == NSM_EVENT_SIMPLE_SCAN) {
            auto request = recordFrom<NSMScanRequest>(input);
            answer(eventCallback(nullptr, kind, &request, 0, context));
        } else {
            auto record = recordFrom<_PSMLPANELSCANJOBINFO>(input);
            char address[8] = {};
            require(GetIpAddress(record, address, sizeof address) == address && address[7] == 0,
                    "an address is cut to its buffer");
            dottedAddress(record);
            answer(eventCallback(nullptr, kind, &record, 0, context));
        }
        loop.runPending();
        optionsForChoices(recordFrom<stRecvJobData>(input), 60, *manager);
    }

    void makeLists(FuzzInput& input) {
        const auto list = platform::current().json.read(input.part());
        const std::string password = input.part();
        char hardwareAddress[12] = {};
        const Data address = input.bytes(sizeof hardwareAddress);
        std::copy(address.begin(), address.end(), hardwareAddress);
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
        if (list) {
            require(platform::current().json.read(platform::current().json.write(*list)).has_value(),
                    "what was read can be written");
        }
    }

private:
    void TestBody() override {}

    static void answer(std::int32_t result) {
        require(result == PANEL_RESULT_DONE || result == PANEL_RESULT_FAILED || result == PANEL_RESULT_BUSY,
                "an event is answered");
    }
};

} // namespace
} // namespace trigora::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    trigora::fuzz::FuzzInput input(bytes, size);
    trigora::fuzz::PanelRecords records;
    records.handleEvent(input);
    records.makeLists(input);
    return 0;
}
