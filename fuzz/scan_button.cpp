// A scan-button event and the scanner's confirmation, with a device table and a capability file around them.
//
// Input: length of the record, the record, the reported model ID (2 bytes), then device table and capability
// file, with a byte 0x1E in between.

#include "fuzz/FuzzInput.h"
#include "tests/agent/InstalledScannerTest.h"

#include <algorithm>

namespace trigora::fuzz {
namespace {

class ScanButton : public test::InstalledScannerTest {
public:
    explicit ScanButton(FuzzInput input) {
        const Data record = input.bytes(input.byte());
        modelID_ = input.number<std::uint16_t>();
        writeFile(paths::deviceTableFile(), input.part());
        writeFile(paths::scannerCapabilityFile(), input.part());
        installEvent("101");
        installEvent("102", "000");
        start();
        appleEvents.receive(test::scanButtonEvent(record));
    }

    void confirmScanner() {
        const std::string driver = platform::textAt(service->currentPress().event, "driverName").value_or("");
        const test::Lines requested = journal.take();
        const bool isRequested = count(requested, "ReplyScannerConfirmationDistributedNotification") == 1;
        require(isRequested == !service->currentPress().event.empty(), "every press that counts asks once");
        confirm(driver, modelID_);
        require(count(journal.take(), "post ScanEventDidFinishNotification") <= 1, "a press ends once");
        require(service->currentPress().event.empty(), "a confirmed press is over");
    }

private:
    void TestBody() override {}

    static std::ptrdiff_t count(const test::Lines& lines, std::string_view text) {
        return std::count_if(lines.begin(), lines.end(),
                             [&](const std::string& line) { return line.find(text) != std::string::npos; });
    }

    std::int64_t modelID_ = 0;
};

} // namespace
} // namespace trigora::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    trigora::fuzz::ScanButton(trigora::fuzz::FuzzInput(bytes, size)).confirmScanner();
    return 0;
}
