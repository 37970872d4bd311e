#include "companions/PScanAssistant/assistant/NoticeProgram.h"
#include "companions/PScanAssistant/assistant/ScanAssistant.h"

#include "files/InstalledPaths.h"
#include "tests/companions/FakeScanner.h"
#include "tests/fakes/PlatformTest.h"

#include <chrono>
#include <filesystem>
#include <functional>
#include <future>
#include <thread>

namespace trigora::companions {
namespace {

using namespace test;

constexpr const char* confirm = "ReplyScannerConfirmationDistributedNotification";
constexpr const char* confirmed = "DidFinishScannerConfirmationDistributedNotification";
constexpr const char* scanNow = "ReplyScanDistributedNotification";
constexpr const char* scanned = "DidFinishScanDistributedNotification";
constexpr const char* whoIsAt = "ReplyDriverNameWithIPAddressDistributedNotification";
constexpr const char* itIs = "DidGetDriverNameWithIPAddressDistributedNotification";

/// Hands out one scanner under its device name and keeps it for the test to look at.
class FakeScanners final : public Scanners {
public:
    std::vector<AttachedScanner> list() override { return attached; }
    std::unique_ptr<Scanner> open(const std::string& device, ScannerRefusal& refusal) override {
        refusal = {isInUse ? ScannerStatus::busy : ScannerStatus::failed, "Invalid argument"};
        opened.push_back(device);
        if (onOpen) {
            onOpen();
        }
        return device == available ? std::make_unique<Borrowed>(scanner) : nullptr;
    }

    std::vector<AttachedScanner> attached;
    std::string available = "test:0";
    FakeScanner scanner;
    std::vector<std::string> opened;
    bool isInUse = false;
    std::function<void()> onOpen;

private:
    /// The scanner outlives each opening of it.
    class Borrowed final : public Scanner {
    public:
        explicit Borrowed(FakeScanner& scanner) : scanner_(scanner) {}
        Borrowed(const Borrowed&) = delete;
        Borrowed& operator=(const Borrowed&) = delete;
        ~Borrowed() override { scanner_.cancel(); }
        std::vector<ScannerOption> options() override { return scanner_.options(); }
        bool set(const std::string& option, const ScannerValue& value) override {
            return scanner_.set(option, value);
        }
        std::optional<ScannerValue> value(const std::string& option) override {
            return scanner_.value(option);
        }
        ScannerStatus start() override { return scanner_.start(); }
        std::optional<FrameParameters> parameters() override { return scanner_.parameters(); }
        ScannerStatus read(std::span<std::uint8_t> buffer, std::size_t& length) override {
            return scanner_.read(buffer, length);
        }
        std::string complaint() const override { return scanner_.complaint(); }
        void cancel() override { scanner_.cancel(); }

    private:
        FakeScanner& scanner_;
    };
};

/// Writes down what the person at the desk is told.
class FakeReporter final : public ScanReporter {
public:
    void report(const ScanReport& report) override {
        const Dictionary told = described(report);
        const std::lock_guard lock(mutex_);
        lines_.push_back(platform::textAt(told, "State").value_or("?") + ' ' +
                         std::to_string(platform::integerAt(told, "Pages").value_or(-1)) + ' ' +
                         platform::textAt(told, "Failure").value_or("?"));
    }
    /// Without what has come again and again.
    std::vector<std::string> take() {
        const std::lock_guard lock(mutex_);
        std::vector<std::string> lines = std::exchange(lines_, {});
        lines.erase(std::unique(lines.begin(), lines.end()), lines.end());
        return lines;
    }

private:
    std::mutex mutex_;
    std::vector<std::string> lines_;
};

class ScanAssistantTest : public PlatformTest {
protected:
    ScanAssistantTest() {
        writeFile(paths::scannerDriversFile(), "[Scanner A]\nDevice=test:0\nModelID=0F01\n"
                                               "[Addresses]\n10.0.0.7=Scanner A\n");
        scans = home + "/Scans";
    }

    void begin() {
        assistant = std::make_unique<ScanAssistant>(
            scanners, [this](const std::string& folder) { return onDisk(folder); }, reporter);
        for (const char* name : {confirmed, scanned, itIs}) {
            notifications.observe(name, [this](const platform::Notification& notification) {
                answers.emplace_back(notification.name, notification.userInfo.value_or(Dictionary{}));
            });
        }
    }

    /// Sends a request and turns the loop until so many more answers have come; they are handed back.
    std::vector<std::pair<std::string, Dictionary>> ask(const std::string& name, const Dictionary& request,
                                                        std::size_t answerCount = 1) {
        answers.clear();
        notifications.receive(name, request);
        waitForAnswers(answerCount);
        return answers;
    }
    void waitForAnswers(std::size_t count) {
        const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(20);
        while (answers.size() < count && std::chrono::steady_clock::now() < deadline) {
            loop.runPending();
            std::this_thread::yield(); // the scanner thread is at work
        }
        ASSERT_EQ(answers.size(), count);
    }
    Dictionary scanRequest(const std::string& driver = "Scanner A") const {
        return {
            {"ScanSettings", Dictionary{{"driverName", driver}, {"folderPath", scans}, {"fileFormat", 2}}}};
    }
    static Array files(const Dictionary& answer) {
        return platform::arrayAt(answer, "ScanResult").value_or(Array{"(none)"});
    }

    FakeScanners scanners;
    FakeReporter reporter;
    std::string scans;
    std::unique_ptr<ScanAssistant> assistant;
    std::vector<std::pair<std::string, Dictionary>> answers;
};

TEST_F(ScanAssistantTest, ConfirmsAScannerWithWhatItIs) {
    begin();
    const auto [name, answer] = ask(confirm, {{"DriverName", "Scanner A"}}).at(0);
    EXPECT_EQ(name, confirmed);
    EXPECT_EQ(platform::integerAt(answer, "ScannerConfirmResult"), 0);
    EXPECT_EQ(platform::textAt(answer, "ScannerVersion"), "3.0");
    const Dictionary updated = platform::dictionaryAt(answer, "UpdatedDeviceInfo").value_or(Dictionary{});
    const Dictionary device = platform::dictionaryAt(updated, "Scanner A").value_or(Dictionary{});
    EXPECT_EQ(platform::integerAt(device, "DeviceInfoModelID"), 0x0F01);
    EXPECT_EQ(device.size(), 18U);
}

TEST_F(ScanAssistantTest, AScannerThatIsMissingIsAnsweredWithTheReason) {
    writeFile(paths::userScannerDriversFile(), "[Mine]\nDevice=usb:1\n");
    begin();
    const std::array<std::pair<std::string, std::string>, 3> cases{{
        {"Scanner B", "no scanner is found for the driver \"Scanner B\""},
        {"", "no scanner is found for the driver \"\""},
        {"Mine", "the scanner usb:1 cannot be opened: Invalid argument"},
    }};
    for (const auto& [driver, reason] : cases) {
        EXPECT_EQ(ask(confirm, {{"DriverName", driver}}).at(0).second,
                  (Dictionary{{"ScannerConfirmResult", -1}, {"Reason", reason}}));
        EXPECT_EQ(ask(scanNow, scanRequest(driver)).at(0).second,
                  (Dictionary{{"ScanResult", Array{"Scan is not succeed!"}}, {"Reason", reason}}));
    }
}

TEST_F(ScanAssistantTest, ThePersonAtTheDeskIsToldHowAScanGoesAndEndsAndCanCancelIt) {
    begin();
    scanners.scanner.allOptions = {textOption("source", {"ADF"})};
    const Dictionary request{
        {"ScanSettings", Dictionary{{"driverName", "Scanner A"}, {"folderPath", scans}}}};
    scanners.scanner.frames = {greyFrame(8, 8, 0), greyFrame(8, 8, 0)};
    scanners.scanner.busyStarts = 2;
    ask(scanNow, request);
    EXPECT_EQ(reporter.take(), (std::vector<std::string>{"scanning 0 none", "busy 0 none", "scanning 1 none",
                                                         "scanning 2 none", "finished 2 none"}));

    scanners.scanner.hangs = true;
    scanners.scanner.frames = {greyFrame(8, 8, 0), greyFrame(8, 8, 0)};
    answers.clear();
    notifications.receive(scanNow, request);
    scanners.scanner.waitUntilStalling();
    notifications.receive("ReplyScanCancelDistributedNotification");
    waitForAnswers(1);
    EXPECT_EQ(reporter.take(),
              (std::vector<std::string>{"scanning 0 none", "scanning 1 none", "failed 1 cancelled"}));
    EXPECT_TRUE(std::filesystem::exists(scans + "/img002.pdf"));

    ask(confirm, {{"DriverName", "Scanner B"}});
    EXPECT_EQ(reporter.take(), std::vector<std::string>{"failed 0 notFound"});
}

TEST_F(ScanAssistantTest, AScannerInUseIsTriedAgainBeforeThatIsAFailure) {
    begin();
    for (const bool becomesFree : {true, false}) {
        scanners.opened.clear();
        scanners.isInUse = true;
        scanners.available = "";
        scanners.onOpen = [&] {
            scanners.available = becomesFree && scanners.opened.size() > 4 ? "test:0" : "";
        };
        scanners.scanner.frames = {greyFrame(8, 8, 0)};
        const Dictionary answer = ask(scanNow, scanRequest()).at(0).second;
        EXPECT_EQ(platform::textAt(answer, "Reason").value_or(""),
                  becomesFree ? "" : "the scanner test:0 cannot be opened: Invalid argument");
        EXPECT_GT(scanners.opened.size(), 4U);
    }
}

TEST_F(ScanAssistantTest, AScannerThatHangsWhenItIsOpenedIsAFailureWithinHalfAMinute) {
    begin();
    std::promise<void> release;
    std::promise<void> isOpening;
    scanners.onOpen = [&] {
        isOpening.set_value();
        release.get_future().wait();
    };
    answers.clear();
    notifications.receive(confirm, Dictionary{{"DriverName", "Scanner A"}});
    isOpening.get_future().wait();
    loop.advance(31);
    EXPECT_EQ(answers.size(), 1U);
    release.set_value();
    waitForAnswers(1);
    EXPECT_EQ(platform::textAt(answers.at(0).second, "Reason"), "the scanner does not answer");
}

TEST_F(ScanAssistantTest, FindsTheScannerThatADriverNameStandsFor) {
    scanners.attached = {{"net:10.0.0.12:x", "Pelox", "Flat 10"},
                         {"net:10.0.0.1:y", "Pelox", "Flat 1"},
                         {"usb:1", "Other", "Scanner"},
                         {"two:usb:5", "Other", "Twin"},
                         {"two:usb:6", "Other", "Twin"}};
    writeFile(paths::userScannerDriversFile(), "[Mine]\nDevice=usb:1\n[Scanner A]\nDevice=usb:2\n"
                                               "[Flat 1]\nDevice=usb:9\n[Pelox Flat 10]\nDevice=two:usb:6\n"
                                               "[Gone]\nDevice=two:usb:4\n");
    begin();
    const std::array<std::pair<Dictionary, std::vector<std::string>>, 11> cases{{
        {{{"DriverName", "Mine"}}, {"usb:1"}},
        // The user's word counts first. The device has another name since it was plugged in again.
        {{{"DriverName", "Scanner A"}}, {"usb:2", "usb:1"}},
        {{{"DriverName", "Flat 1"}}, {"usb:9", "net:10.0.0.1:y"}},
        {{{"DriverName", "Gone"}}, {"two:usb:4"}},          // could be either of two
        {{{"DriverName", "Pelox Flat 10"}}, {"two:usb:6"}}, // in use, but there
        {{{"DriverName", "usb:1"}}, {"usb:1"}},
        {{{"DriverName", "pelox flat 1"}}, {"net:10.0.0.1:y"}},
        {{{"DriverName", "Flat 10"}}, {"net:10.0.0.12:x"}},
        {{{"DriverName", "?"}, {"IPAddress", "10.0.0.1"}}, {"net:10.0.0.1:y"}},
        {{{"DriverName", "?"}, {"IPAddress", "0.0.0.1"}}, {}},
        {{{"DriverName", "?"}, {"IPAddress", "L"}}, {}},
    }};
    for (const auto& [request, opened] : cases) {
        scanners.opened.clear();
        ask(confirm, request);
        EXPECT_EQ(scanners.opened, opened) << Value(request).description();
    }
}

TEST_F(ScanAssistantTest, ScansIntoTheFolderAndTellsTheFiles) {
    begin();
    scanners.scanner.frames = {greyFrame(8, 8, 0), greyFrame(8, 8, 0)};
    EXPECT_EQ(files(ask(scanNow, scanRequest()).at(0).second), Array{scans + "/img001.bmp"});
    EXPECT_EQ(files(ask(scanNow, scanRequest()).at(0).second), Array{scans + "/img002.bmp"});
    EXPECT_TRUE(std::filesystem::exists(scans + "/img001.bmp"));
    // Nothing is left on the scanner.
    EXPECT_EQ(files(ask(scanNow, scanRequest()).at(0).second), Array{"Scan is not succeed!"});
}

TEST_F(ScanAssistantTest, ScansIntoFoldersOfTheInstallationAndIntoTheDocuments) {
    begin();
    Dictionary shared = scanRequest();
    shared["ScanSettings"] =
        Dictionary{{"driverName", "Scanner A"}, {"folderPath", "/Users/Shared/In"}, {"fileFormat", 2}};
    scanners.scanner.frames = {greyFrame(8, 8, 0), greyFrame(8, 8, 0)};
    EXPECT_EQ(files(ask(scanNow, shared).at(0).second), Array{"/Users/Shared/In/img001.bmp"});
    EXPECT_TRUE(exists("/Users/Shared/In/img001.bmp"));

    Dictionary relative = scanRequest();
    relative["ScanSettings"] = Dictionary{{"driverName", "Scanner A"}, {"folderPath", "../x"}};
    const std::string documents = platform::current().folders.documents().value_or("(none)");
    EXPECT_EQ(files(ask(scanNow, relative).at(0).second), Array{documents + "/img001.pdf"});
}

TEST_F(ScanAssistantTest, TheCurrentDriverStandsInForNone) {
    begin();
    notifications.receive("ReplySetCurrentDriverDistributedNotification",
                          Dictionary{{"CurrentDriverName", "Scanner A"}});
    scanners.scanner.frames = {greyFrame(8, 8, 0), greyFrame(8, 8, 0)};
    EXPECT_EQ(files(ask(scanNow, scanRequest("NOT SETUP")).at(0).second), Array{scans + "/img001.bmp"});
    notifications.receive("DidFinishLaunchingSADistributedNotification");
    EXPECT_EQ(files(ask(scanNow, scanRequest("NOT SETUP")).at(0).second), Array{"Scan is not succeed!"});
}

TEST_F(ScanAssistantTest, AScannerThatStallsIsStoppedAndKeepsTheWholePages) {
    begin();
    scanners.scanner.allOptions = {textOption("source", {"ADF"})};
    for (const bool answersWithNothing : {false, true}) {
        scanners.scanner.hangs = !answersWithNothing;
        scanners.scanner.sendsNothing = answersWithNothing;
        scanners.scanner.frames = {greyFrame(8, 8, 0), greyFrame(8, 8, 0)};
        Dictionary request = scanRequest();
        request["ScanSettings"] =
            Dictionary{{"driverName", "Scanner A"}, {"folderPath", scans}, {"documentSource", 2}};
        answers.clear();
        notifications.receive(scanNow, request);
        notifications.receive(confirm, Dictionary{{"DriverName", "Scanner A"}});
        scanners.scanner.waitUntilStalling();
        loop.advance(119);
        EXPECT_TRUE(answers.empty());
        loop.advance(2);
        waitForAnswers(2);
        EXPECT_EQ(answers[0].second,
                  (Dictionary{{"ScanResult", Array{"Scan is not succeed!"}},
                              {"Reason", "the scanner does not answer; what was scanned before is kept in " +
                                             scans + "/img001.pdf"}}));
        EXPECT_TRUE(std::filesystem::remove(scans + "/img001.pdf"));
        EXPECT_EQ(platform::integerAt(answers[1].second, "ScannerConfirmResult"), 0);
    }
}

TEST_F(ScanAssistantTest, AScannerThatCannotBeClosedAfterAGoodScanDoesNotSpoilIt) {
    begin();
    scanners.scanner.cancelHangs = true;
    scanners.scanner.frames = {greyFrame(8, 8, 0)};
    notifications.receive(scanNow, scanRequest());
    scanners.scanner.waitUntilCancelled();
    loop.advance(140);
    waitForAnswers(1);
    EXPECT_EQ(files(answers.at(0).second), Array{scans + "/img001.bmp"});
    scanners.scanner.release();
}

TEST_F(ScanAssistantTest, QuitsDuringAScanAndLeavesNoFile) {
    begin();
    scanners.scanner.hangs = true;
    scanners.scanner.frames = {greyFrame(8, 8, 0)};
    notifications.receive(scanNow, scanRequest());
    scanners.scanner.waitUntilStalling();
    notifications.receive("ReplySAQuitDistributedNotification");
    EXPECT_TRUE(assistant->end());
    EXPECT_GT(scanners.scanner.cancelCount(), 0);
    loop.runPending();
    EXPECT_TRUE(answers.empty());
    EXPECT_TRUE(std::filesystem::is_empty(scans));
}

TEST_F(ScanAssistantTest, NotEvenAScannerThatCannotBeCancelledHoldsTheMainThread) {
    begin();
    scanners.scanner.hangs = true;
    scanners.scanner.cancelHangs = true;
    scanners.scanner.frames = {greyFrame(8, 8, 0)};
    notifications.receive(scanNow, scanRequest());
    scanners.scanner.waitUntilStalling();
    notifications.receive(confirm, Dictionary{{"DriverName", "Scanner A"}});
    loop.advance(200); // the test ends here if this waits for the scanner
    waitForAnswers(2);
    EXPECT_EQ(files(answers.at(0).second), Array{"Scan is not succeed!"});
    EXPECT_EQ(answers[1].second,
              (Dictionary{{"ScannerConfirmResult", -1}, {"Reason", "the scanner does not answer"}}));
    EXPECT_FALSE(assistant->end());
    scanners.scanner.release();
}

TEST_F(ScanAssistantTest, TellsWhichDriverServesANetworkAddress) {
    scanners.attached = {{"net:10.0.0.8:x", "Pelox", "Flat 10"}};
    begin();
    EXPECT_EQ(ask(whoIsAt, {{"IPAddress", "10.0.0.7"}}).at(0).second,
              (Dictionary{{"DriverName", "Scanner A"}}));
    EXPECT_EQ(ask(whoIsAt, {{"IPAddress", "10.0.0.8"}}).at(0).second,
              (Dictionary{{"DriverName", "Pelox Flat 10"}}));
    EXPECT_EQ(ask(whoIsAt, {{"IPAddress", "10.0.0.9"}}).at(0).second, Dictionary{});
}

TEST_F(ScanAssistantTest, StartsTheScanningApplicationOnlyFromAmongTheInstalledOnes) {
    const std::string application = "/Applications/Pelox Software/PELOX Scan.app";
    makeFolder(application);
    makeFolder("/Users/Shared/Evil.app");
    begin();
    const auto launch = [&](const std::string& path) {
        journal.take();
        notifications.receive("ReplyLaunchPlScanDistributedNotification",
                              Dictionary{{"PlScanSettings", Dictionary{{"NextAssistantPath", path}}}});
        return journal.take();
    };
    EXPECT_EQ(launch(application), Lines{"launch application " + application});
    EXPECT_EQ(launch("/Users/Shared/Evil.app"), Lines{});
    EXPECT_EQ(launch("/Applications/../Users/Shared/Evil.app"), Lines{});
}

} // namespace
} // namespace trigora::companions
