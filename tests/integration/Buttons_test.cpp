#include "agent/event/ScanEventRecord.h"
#include "companions/TrigoraButtons/messages/ButtonServiceEvents.h"
#include "companions/TrigoraButtons/messages/ReaderMessage.h"
#include "platform/linux/bus/BusAppleEvents.h"
#include "platform/linux/bus/BusNames.h"
#include "simulators/scanners/ScannerFolder.h"
#include "tests/integration/RunningAgentTest.h"

#include <atomic>
#include <csignal>
#include <fcntl.h>
#include <fstream>
#include <random>
#include <sstream>
#include <sys/file.h>
#include <thread>

namespace trigora::buttons {
namespace {

using namespace std::chrono_literals;
using simulators::Call;
using simulators::Failure;
using simulators::ScannerControl;
using test::Child;
using test::Lines;

/// The real service with simulated scanners, which SANE itself loads. The test plays the agent, or starts the
/// real one.
class ButtonsTest : public test::RunningAgentTest {
protected:
    ButtonsTest() : scanners(home + "/sane") {
        namespace fs = std::filesystem;
        for (const auto& [built, installed] : {std::pair{BUTTONS_PROGRAM, paths::buttonServiceExecutable()},
                                               std::pair{READER_PROGRAM, paths::buttonReaderExecutable()}}) {
            fs::create_directories(fs::path(onDisk(installed)).parent_path());
            fs::create_symlink(built, onDisk(installed));
        }
        std::ostringstream table;
        table << std::ifstream(TRIGORA_TREE + paths::scannerButtonsFile()).rdbuf();
        writeFile(paths::scannerButtonsFile(), table.str());
        scanners.useHere();
    }
    ~ButtonsTest() override { service.reset(); }

    ScannerControl plugIn(const std::string& backend, const std::string& model) {
        simulators::ScannerDescription description;
        description.backend = backend;
        description.vendor = "Sim";
        description.model = model;
        return scanners.plugIn(description);
    }
    void launchService() {
        service = std::make_unique<Child>(onDisk(paths::buttonServiceExecutable()),
                                          std::vector<std::string>{"--usb-folder", scanners.usbFolder()},
                                          home + "/buttons.err");
    }
    /// Waits until so many scanners are watched.
    void expectWatched(std::size_t count) {
        EXPECT_TRUE(waitUntil([&] { return watched() == count; })) << readFile("~/buttons.err") << status();
        pass(300ms); // the first reading follows the opening
    }
    /// Takes part in the bus for so long.
    void pass(std::chrono::milliseconds time) {
        const auto end = std::chrono::steady_clock::now() + time;
        waitUntil([&] { return std::chrono::steady_clock::now() > end; });
    }
    std::size_t watched() {
        const std::string text = status();
        std::size_t count = 0;
        for (std::size_t at = 0; (at = text.find("\"state\":\"watched\"", at)) != std::string::npos; ++at) {
            ++count;
        }
        return count;
    }
    std::string status() {
        const platform::SignatureTarget target{serviceSignature};
        if (!events().isPresent(target)) {
            return {};
        }
        const auto reply = events().sendWaitingForReply(
            target,
            {.eventClass = platform::productEventClass, .eventID = buttonStatusEventID, .parameters = {}});
        const auto* text = reply.event.parameter(platform::keyDirectObject);
        return text != nullptr ? std::string(text->bytes.begin(), text->bytes.end()) : "";
    }
    platform::BusAppleEvents& events() {
        if (!events_) {
            events_ = std::make_unique<platform::BusAppleEvents>(bus());
        }
        return *events_;
    }

    /// From here on the test is the agent: it notes each press and at once says that it is dealt with.
    void playAgent() {
        events().setEventHandler(platform::productEventClass, scanButtonEventID,
                                 [this](const platform::AppleEvent& event, platform::AppleEvent&) {
                                     const auto press = decodeScanEvent(event.parameters.at(0).bytes);
                                     pressed.push_back(press->driverName.value_or("") + ' ' +
                                                       std::to_string(press->eventStatus));
                                     if (whenPressed) {
                                         whenPressed();
                                     }
                                     if (finishes) {
                                         post("ScanEventDidFinishNotification");
                                     }
                                 });
        ASSERT_TRUE(bus().requestName(platform::bus::agentName));
    }
    bool waitForPresses(std::size_t count) {
        return waitUntil([&] { return pressed.size() >= count; });
    }
    /// What another program that wants the scanner does: opens the node, and some milliseconds later claims
    /// it.
    static bool isOpenedByAnother(const ScannerControl& scanner) {
        const int node = open(scanner.node().c_str(), O_RDWR | O_CLOEXEC);
        usleep(100000);
        const bool isGranted = flock(node, LOCK_EX | LOCK_NB) == 0;
        close(node);
        return isGranted;
    }

    simulators::ScannerFolder scanners;
    std::unique_ptr<Child> service;
    Lines pressed; ///< driver and button of each event that has come
    std::function<void()> whenPressed;
    bool finishes = true;

private:
    std::unique_ptr<platform::BusAppleEvents> events_;
};

TEST_F(ButtonsTest, APressGoesAllTheWayToTheOpenedDocument) {
    ScannerControl scanner = plugIn("genesys", "Flat 10");
    startAgent();
    launchService();
    expectWatched(1);
    scanner.tap("scan");
    const std::string viewed = onDisk("/Applications") + "/../viewed";
    EXPECT_TRUE(waitUntil([&] { return std::filesystem::exists(viewed) && readFile(viewed) != ""; }))
        << readFile("~/buttons.err") << agentErrors();
    EXPECT_TRUE(waitUntil([&] { return watched() == 1; })) << "the scanner is taken up again";
}

TEST_F(ButtonsTest, EachKindOfSensorPressesOnceAndAgain) {
    const std::pair<const char*, const char*> kinds[] = {
        {"genesys", "scan"},   {"plustek", "button 0"},      {"hp3900", "button 0"},
        {"avision", "scan"},   {"rts8891", "button-scan"},   {"hp5590", "scan"},
        {"hp5400", "scan"},    {"pixma", "button-1"},        {"fujitsu", "scan"},
        {"canon_dr", "start"}, {"trigorasim", "big-button"}, {"epjitsu", "scan"}};
    writeFile(paths::userScannerButtonsFile(), "[trigorasim]\nbig-button=level 1\n");
    std::vector<ScannerControl> controls;
    for (const auto& [backend, button] : kinds) {
        controls.push_back(plugIn(backend, backend));
    }
    playAgent();
    launchService();
    expectWatched(std::size(kinds));
    for (const int round : {1, 2}) {
        for (std::size_t i = 0; i < std::size(kinds); ++i) {
            const auto& [backend, button] = kinds[i];
            const bool isSlow = std::string(backend) == "epjitsu"; // answers once a second
            pressed.clear();
            controls[i].tap(button, {.length = isSlow ? 1500ms : 250ms});
            EXPECT_TRUE(waitForPresses(1)) << backend << status();
            pass(600ms);
            EXPECT_EQ(pressed, Lines{std::string("Sim ") + backend + " 1"}) << round;
        }
        expectWatched(std::size(kinds));
    }
}

/// Counts the moments in which this machine had no processor for a thread that wanted to run.
class StallCounter {
public:
    std::size_t stalls() const { return stalls_; }

private:
    std::atomic<std::size_t> stalls_ = 0;
    std::jthread thread_{[this](const std::stop_token& stop) {
        for (auto last = std::chrono::steady_clock::now(); !stop.stop_requested();) {
            std::this_thread::sleep_for(10ms);
            const auto now = std::chrono::steady_clock::now();
            stalls_ += now - last > 30ms ? 1 : 0;
            last = now;
        }
    }};
};

/// On a machine that has no time for the readings, each stall may cost a tap.
TEST_F(ButtonsTest, TwoHundredTapsAreTwoHundredPresses) {
    constexpr int scannerCount = 8;
    constexpr int tapsOfEach = 25;
    std::vector<ScannerControl> controls;
    for (int i = 0; i < scannerCount; ++i) {
        controls.push_back(plugIn("genesys", "Flat " + std::to_string(i)));
    }
    playAgent();
    launchService();
    expectWatched(scannerCount);
    const StallCounter machine;
    std::mt19937 random(20250101);
    const auto start = std::chrono::steady_clock::now() + 200ms;
    std::uniform_int_distribution<int> jitter(0, 399);
    for (int i = 0; i < scannerCount; ++i) {
        for (int tap = 0; tap < tapsOfEach; ++tap) {
            controls[static_cast<std::size_t>(i)].tap(
                "scan", {.length = 200ms,
                         .at = start + std::chrono::milliseconds(tap * 1600 + i * 100 + jitter(random))});
        }
    }
    const auto end = start + std::chrono::milliseconds(tapsOfEach * 1600 + 2000);
    while (std::chrono::steady_clock::now() < end && pressed.size() < scannerCount * tapsOfEach) {
        waitForPresses(scannerCount * tapsOfEach);
    }
    EXPECT_LE(pressed.size(), static_cast<std::size_t>(scannerCount * tapsOfEach));
    EXPECT_GE(pressed.size() + machine.stalls(), static_cast<std::size_t>(scannerCount * tapsOfEach));
}

TEST_F(ButtonsTest, AnotherProgramIsNeverRefused) {
    ScannerControl scanner = plugIn("genesys", "Flat 10");
    playAgent();
    launchService();
    for (int round = 0; round < 4; ++round) {
        expectWatched(1);
        EXPECT_TRUE(isOpenedByAnother(scanner)) << round;
    }
    expectWatched(1);
    scanner.fail(Call::get, Failure::hang); // in the middle of a reading
    pass(300ms);
    EXPECT_TRUE(isOpenedByAnother(scanner));
    scanner.heal();
    expectWatched(1);
    scanner.tap("scan");
    EXPECT_TRUE(waitForPresses(1));
}

TEST_F(ButtonsTest, TheScannerIsFreeBeforeThePressIsSent) {
    ScannerControl scanner = plugIn("genesys", "Flat 10");
    bool isFree = false;
    whenPressed = [&] { isFree = isOpenedByAnother(scanner); };
    playAgent();
    launchService();
    expectWatched(1);
    scanner.fail(Call::close, Failure::hang);
    scanner.tap("scan");
    EXPECT_TRUE(waitForPresses(1));
    EXPECT_TRUE(isFree) << "although its back-end hangs in closing it";
}

TEST_F(ButtonsTest, SurvivesBackEndsThatMisbehave) {
    ScannerControl scanner = plugIn("genesys", "Flat 10");
    playAgent();
    launchService();
    expectWatched(1);
    const struct {
        const char* what;
        std::function<void()> happen;
    } mishaps[] = {
        {"crash in get", [&] { scanner.fail(Call::get, Failure::crash); }},
        {"unplugged while read",
         [&] {
             scanner.unplug();
             scanner.replug();
         }},
        {"unplugged while it hangs",
         [&] {
             scanner.fail(Call::get, Failure::hang);
             usleep(200000);
             scanner.unplug();
             scanner.heal();
             scanner.replug();
         }},
    };
    for (const auto& mishap : mishaps) {
        mishap.happen();
        pass(500ms);
        expectWatched(1);
        pressed.clear();
        scanner.tap("scan");
        EXPECT_TRUE(waitForPresses(1)) << mishap.what << readFile("~/buttons.err");
    }
    EXPECT_EQ(service->exitStatus(), -1);
}

TEST_F(ButtonsTest, APressIsKeptUntilThereIsAnAgent) {
    ScannerControl scanner = plugIn("hp5590", "Feeder");
    launchService();
    expectWatched(1);
    scanner.tap("scan");
    pass(1s);
    playAgent();
    EXPECT_TRUE(waitForPresses(1));
    EXPECT_EQ(pressed, Lines{"Sim Feeder 1"});
}

TEST_F(ButtonsTest, EndsInOrderAndRunsOnce) {
    plugIn("genesys", "Flat 10");
    launchService();
    expectWatched(1);
    Child secondService(onDisk(paths::buttonServiceExecutable()), {"--usb-folder", scanners.usbFolder()},
                        home + "/second.err");
    EXPECT_TRUE(waitForExit(secondService));
    EXPECT_EQ(secondService.exitStatus(), 1);
    EXPECT_NE(readFile("~/second.err").find("already running"), std::string::npos);
    service->signal(SIGTERM);
    EXPECT_TRUE(waitForExit(*service));
    EXPECT_EQ(service->exitStatus(), 0);
    std::filesystem::remove(onDisk(paths::buttonReaderExecutable()));
    launchService();
    EXPECT_TRUE(waitUntil([this] { return status().find("cannot be started") != std::string::npos; }))
        << status();
    Child wrong(onDisk(paths::buttonServiceExecutable()), {"--nodes"}, home + "/wrong.err");
    EXPECT_TRUE(waitForExit(wrong));
    EXPECT_EQ(wrong.exitStatus(), 2);
}

} // namespace
} // namespace trigora::buttons
