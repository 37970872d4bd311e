// Measures the installed agent as a process, on a private session bus, with the catalogue of a user who has
// had it for years and the processes of a desktop's session around it. Every time is told beside that of a
// bare round trip over the same bus in the same run.

#include "bench/BusPeer.h"
#include "bench/Distribution.h"
#include "bench/Echo.h"
#include "bench/InstalledSystem.h"
#include "bench/Program.h"
#include "platform/linux/bus/BusNames.h"
#include "tests/agent/ScanEventBytes.h"
#include "tests/fakes/PrivateBus.h"

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>

namespace trigora::bench {
namespace {

constexpr int sessionProcesses = 200;
constexpr int starts = 21;
constexpr int warmUpPresses = 20;
constexpr int presses = 300;
constexpr std::chrono::seconds idleTime(5);
/// Between two steps, so that what the agent still does after its answer is not counted into the next step.
constexpr std::chrono::milliseconds pause(2);

constexpr const char* confirmationRequest = "ReplyScannerConfirmationDistributedNotification";
constexpr const char* confirmation = "DidFinishScannerConfirmationDistributedNotification";
constexpr const char* scanRequest = "ReplyScanDistributedNotification";
constexpr const char* pressIsOver = "ScanEventDidFinishNotification";

/// Where a started agent says that it is ready.
class ReadinessSocket {
public:
    explicit ReadinessSocket(const std::string& path)
        : path_(path), descriptor_(socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
        sockaddr_un address{};
        address.sun_family = AF_UNIX;
        path.copy(address.sun_path, sizeof address.sun_path - 1);
        if (bind(descriptor_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
            throw std::runtime_error("no socket at " + path);
        }
        const timeval limit{10, 0};
        setsockopt(descriptor_, SOL_SOCKET, SO_RCVTIMEO, &limit, sizeof limit);
    }
    ~ReadinessSocket() { close(descriptor_); }
    ReadinessSocket(const ReadinessSocket&) = delete;
    ReadinessSocket& operator=(const ReadinessSocket&) = delete;

    std::string environment() const { return "NOTIFY_SOCKET=" + path_; }
    void wait() const {
        char message[256] = {};
        do {
            const ssize_t length = recv(descriptor_, message, sizeof message, 0);
            if (length < 0) {
                throw std::runtime_error("the agent did not become ready");
            }
            if (std::string_view(message, static_cast<std::size_t>(length)).starts_with("READY=1")) {
                return;
            }
        } while (true);
    }

private:
    std::string path_;
    int descriptor_;
};

class AgentMeasurement {
public:
    AgentMeasurement() : readiness_(system_.folder() + "/ready"), session_(sessionProcesses) {
        while (!peer_.isOnBus(echo::name)) {
            std::this_thread::sleep_for(pause);
        }
        // The agent lists a process once it has been alive for half a second.
        std::this_thread::sleep_for(std::chrono::seconds(1));
    }

    void run() {
        measureStarts();
        tellMemory("after the start");
        measurePresses();
        tellMemory("after the presses");
        measureIdleness();
    }

private:
    void startAgent() {
        agent_.reset();
        agent_ = std::make_unique<Program>(system_.agentProgram(), std::vector{readiness_.environment()});
        readiness_.wait();
    }

    void measureStarts() {
        Distribution ready;
        Distribution firstAnswer;
        for (int i = 0; i < starts; ++i) {
            const Clock::time_point before = Clock::now();
            startAgent();
            ready.add(Clock::now() - before);
            peer_.press(record_);
            firstAnswer.add(peer_.waitFor(confirmationRequest) - before);
            peer_.waitForHandled();
        }
        std::printf("start to ready                        %8.1f ms   (aim: 50 ms)\n", ready.median() / 1000);
        std::printf("start to the first event's answer     %8.1f ms   (aim: 50 ms)\n",
                    firstAnswer.median() / 1000);
        startAgent();
    }

    void measurePresses() {
        const Clock::duration firstPress = pressOnce(nullptr);
        for (int i = 0; i < warmUpPresses; ++i) {
            pressOnce(nullptr);
        }
        PressTimes times;
        for (int i = 0; i < presses; ++i) {
            std::this_thread::sleep_for(pause);
            const Clock::time_point before = Clock::now();
            peer_.callEcho(record_);
            times.bare.add(Clock::now() - before);
            pressOnce(&times);
        }
        const double bare = times.bare.median();
        std::printf("bare round trip                       %8.1f us   (95 %%: %.1f)\n", bare,
                    times.bare.quantile(0.95));
        tell("press to confirmation request", times.request, bare, 2);
        tell("confirmation to scan request", times.scan, bare, 4);
        std::printf("the first, with a cold catalogue      %8.1f ms\n",
                    std::chrono::duration<double, std::milli>(firstPress).count());
    }

    struct PressTimes {
        Distribution bare;
        Distribution request;
        Distribution scan;
    };

    static void tell(const char* what, Distribution& times, double bare, int aim) {
        std::printf("%-37s %8.1f us   (95 %%: %.1f) = %.2f bare round trips (aim: %d)\n", what,
                    times.median(), times.quantile(0.95), times.median() / bare, aim);
    }

    /// One press up to the request to scan, and its end: the scanner is reported lost, which leaves the
    /// stand-in running. Gives the time that the second half took.
    Clock::duration pressOnce(PressTimes* times) {
        std::this_thread::sleep_for(pause);
        const Clock::time_point pressed = Clock::now();
        peer_.press(record_);
        const Clock::duration requested = peer_.waitFor(confirmationRequest) - pressed;
        peer_.waitForHandled();
        std::this_thread::sleep_for(pause);
        const Clock::time_point confirmed = Clock::now();
        peer_.post(confirmation, confirmed_);
        const Clock::duration asked = peer_.waitFor(scanRequest) - confirmed;
        std::this_thread::sleep_for(pause);
        peer_.post(confirmation, {{"ScannerConfirmResult", -1}});
        peer_.waitFor(pressIsOver);
        if (times != nullptr) {
            times->request.add(requested);
            times->scan.add(asked);
        }
        return asked;
    }

    void tellMemory(const char* when) const {
        const std::int64_t mine = agent_->memory("Private_Clean") + agent_->memory("Private_Dirty");
        std::printf("memory %-31sresident %.2f MB, proportional %.2f MB, private %.2f MB\n", when,
                    inMegabytes(agent_->memory("Rss")), inMegabytes(agent_->memory("Pss")),
                    inMegabytes(mine));
    }

    static double inMegabytes(std::int64_t kilobytes) { return static_cast<double>(kilobytes) / 1024; }

    void measureIdleness() const {
        std::this_thread::sleep_for(std::chrono::seconds(1));
        const std::int64_t before = agent_->contextSwitches();
        std::this_thread::sleep_for(idleTime);
        std::printf("wakeups while idle for %d s           %9lld      (aim: 0)\n",
                    static_cast<int>(idleTime.count()),
                    static_cast<long long>(agent_->contextSwitches() - before));
    }

    test::PrivateBus bus_;
    InstalledSystem system_;
    ReadinessSocket readiness_;
    SleepingProcesses session_;
    Program assistant_{system_.assistantProgram()};
    BusPeer peer_{{confirmationRequest, scanRequest, pressIsOver}};
    std::unique_ptr<Program> agent_;
    const Data record_ = test::scanEventBytes("BS-1", driverName, pressedButton);
    const Dictionary confirmed_{
        {"ScannerConfirmResult", 0},
        {"ScannerVersion", "3.0"},
        {"UpdatedDeviceInfo", Dictionary{{driverName, Dictionary{{"DeviceInfoModelID", 0x0F10}}}}}};
};

} // namespace
} // namespace trigora::bench

int main() {
    try {
        trigora::bench::AgentMeasurement().run();
        return EXIT_SUCCESS;
    } catch (const std::exception& error) {
        std::fprintf(stderr, "%s\n", error.what());
        return EXIT_FAILURE;
    }
}
