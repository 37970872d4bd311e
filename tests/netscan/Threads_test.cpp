#include "agent/delegate/TgaApplicationDelegate.h"
#include "tests/agent/ScanEventBytes.h"
#include "tests/netscan/NetworkPanelTest.h"
#include "usbscan/buttons/TgaButtonManager.h"
#include "usbscan/settings/TgaUsbSettingsManager.h"

#include <thread>

namespace trigora {
namespace {

using test::Lines;

/// Modules that call back on eight threads from the network service's start until its stop, as fast as they
/// can.
class BusyModule : public test::NetworkPanelTest {
protected:
    BusyModule() {
        busy = this;
        announcement.versionInformation = lowText("1.0");
        announcement.ipAddress = lowText("192.168.0.1");
        for (int i = 0; i < threadCount; ++i) {
            productIDs.push_back(lowText("PID " + std::to_string(i)));
        }
        writePropertyList(std::string(agentBundlePath) + "/Contents/Info.plist", Dictionary{});
        install("NetScan", std::string(agentBundlePath) + "/Contents/PlugIns/NetScanBundle.bundle",
                test::NetScanFunctions{[]() -> std::int32_t { return 1; },
                                       [](NSMDiscoveryCallback, NSMEventCallback, NSMErrorCallback,
                                          void* context, void*, void*) -> std::int32_t {
                                           busy->startThreads(context);
                                           return 1;
                                       },
                                       []() -> std::int32_t {
                                           busy->joinThreads();
                                           return 1;
                                       },
                                       [](const char*, std::uint32_t) -> std::int32_t { return 1; }});
    }

    void startThreads(void* context) {
        isStopping = false;
        for (int i = 0; i < threadCount; ++i) {
            threads.emplace_back([=, this] {
                for (int round = i; !isStopping; ++round) {
                    callBack(round, productIDs[static_cast<std::size_t>(i)], context);
                    ++calls;
                }
            });
        }
    }
    void joinThreads() {
        isStopping = true;
        for (std::thread& thread : threads) {
            thread.join();
        }
        threads.clear();
    }
    enum Call { discovery, error, simpleScan, command, list, end, usbCommand, usbList, usbEnd, callCount };
    void callBack(int round, address32 productID, void* context) {
        const auto call = static_cast<std::size_t>(round % callCount);
        const std::int32_t job = round / callCount % 5; // every command comes with every kind
        answers[call] |= 1U << answerTo(static_cast<Call>(call), job, productID, context);
    }
    std::int32_t answerTo(Call call, std::int32_t jobCommand, address32 productID, void* context) {
        _NSMDiscovery found = announcement;
        found.productID = productID;
        NSMScanRequest request{};
        test::setField(request.modelName, "Scanner One");
        test::setField(request.ipAddress, "192.168.0.1");
        _PSMLPANELSCANJOBINFO job = record;
        job.command = jobCommand;
        UsbPanelScanJobInfo usbJob{};
        usbJob.command = jobCommand;
        usbJob.protocolVersion = newList;
        PanelJobFlags* const usb = usbManager.get();
        switch (call) {
        case discovery:
            return discoveryCallBack(&found, context);
        case error:
            return errorCallback(1, 2, "an error", context);
        case simpleScan:
            return eventCallback(nullptr, NSM_EVENT_SIMPLE_SCAN, &request, 0, context);
        case command:
        case list:
        case end:
            return eventCallback(nullptr, NSM_EVENT_START_JOB + (call - command), &job, 0, context);
        default:
            return UsbEventCallbackProc(nullptr, PSML_STRUCT_PANELSCAN_START + (call - usbCommand), &usbJob,
                                        0, usb);
        }
    }
    /// Lets the threads make some calls.
    void letThemCall(int count) {
        const int until = calls + count;
        while (calls < until) {
            std::this_thread::yield();
        }
    }

    static constexpr int threadCount = 8;
    static inline BusyModule* busy = nullptr;
    _NSMDiscovery announcement{};
    std::vector<address32> productIDs;
    std::atomic<bool> isStopping = false;
    std::atomic<int> calls = 0;
    std::array<std::atomic<unsigned>, callCount> answers{}; ///< a bit for each that has been given
    const std::shared_ptr<TgaUsbSettingsManager> usbManager =
        TgaUsbSettingsManager::sharedUsbSettingsManager();
    std::atomic<bool> isAsked = false;
    std::vector<std::thread> threads;
};

TEST_F(BusyModule, MayCallWhileAButtonIsPressedSettingsChangeAndTheAgentEnds) {
    jobs.list = R"([{"name": "One"}, {"name": "Two"}])";
    jobs.password = "secret";
    panel.encodedAt = trigora_pointer(lowText("list"));
    idConverter.twainIDs["PID 3"] = "GX Scanner";
    makeFolder(paths::quilloApplication());
    installButtonManager(paths::quilloButtonManagerModule());
    buttonManagerServes = false;
    // The assistant is there, too, so that some announcements wait for an answer.
    processes.appear("PScanAssistant");
    const auto readSettings = [this] { manager->readNetworkScanSettingsFile(); };
    const auto buttonManager = TgaButtonManager::sharedButtonManager();
    TgaApplicationDelegate delegate(
        {{"network", readSettings, [this] { manager->stopNetworkService(); }, readSettings},
         {"USB", [this] { usbManager->registerEvent(); }, {}, {}},
         {"buttons", [&] { buttonManager->start(); }, [&] { buttonManager->stop(); }, {}}});
    const auto press = [this] {
        appleEvents.receive(test::scanButtonEvent(test::scanEventBytes("XY-1", "D1", 1)));
        loop.runPending();
        notifications.receive("DidFinishScannerConfirmationDistributedNotification",
                              Dictionary{{"ScannerConfirmResult", 0}});
    };
    const int enough = threadCount * callCount * 5;

    delegate.applicationDidFinishLaunching();
    letThemCall(enough);
    press();
    letThemCall(enough);
    notifications.receive("NetworkSettingsDidChangeNotification", {});
    letThemCall(enough);
    buttonManagerServes = true;
    press();
    letThemCall(enough);
    delegate.applicationWillTerminate();

    EXPECT_TRUE(threads.empty());
    const auto answersOf = [&](Call call) { return answers[call].load(); };
    const unsigned done = 1U << PANEL_RESULT_DONE;
    EXPECT_EQ(answersOf(discovery), 1U << NSM_SCANNER_SERVED | 1U << NSM_SCANNER_NOT_SERVED);
    // Busy while the button's project runs, failed when the button manager takes over in between.
    EXPECT_EQ(answersOf(simpleScan) & ~(1U << PANEL_RESULT_BUSY | 1U << PANEL_RESULT_FAILED), done);
    for (const Call call : {error, command, list, end, usbCommand, usbList, usbEnd}) {
        EXPECT_EQ(answersOf(call), done) << call;
    }
    const Lines lines = journal.take();
    for (const char* line : {"invoke 0 192.168.0.1", "invoke 0", "continueJob", "completeJob", "cancelJob",
                             "keepAliveJob", "completeJobInContext", "processEvent 2 PID 0142 192.168.0.1"}) {
        EXPECT_NE(std::ranges::find(lines, line), lines.end()) << line;
    }
    EXPECT_EQ(lines.back(), "ButtonManager stopNWDeviceObservation");
    EXPECT_EQ(manager->dsNameWithScopeList("PID 3").value_or("GX Scanner"), "GX Scanner");
}

TEST_F(BusyModule, AStopEndsTheWaitForAnAnswer) {
    clock.processorShare = 0; // the time to wait never passes
    const std::string settings = paths::scanSettingsApplication();
    const std::function<void()> waits[] = {
        // The scan settings never quit.
        [&] {
            writePropertyList(settings + "/Contents/Info.plist",
                              Dictionary{{"CFBundleExecutable", "Settings"}});
            writeFile(settings + "/Contents/MacOS/Settings", "");
            appleEvents.answer = [this](const auto&, const auto&) {
                isAsked = true;
                return platform::AppleEventReply{platform::errAETimeout, {}};
            };
        },
        // They do not answer.
        [this] { appleEvents.isSilent = true; },
        // They do not come up.
        [this] {
            appleEvents.isSilent = false;
            appleEvents.answer = [this](const auto&, const auto&) {
                while (!isStopping) {
                    isAsked = true;
                }
                return platform::AppleEventReply{platform::procNotFound, {}};
            };
        },
        // The scan assistant never answers.
        [&] {
            remove(settings);
            processes.appear("PScanAssistant");
            notifications.onPost("ReplyDriverNameWithIPAddressDistributedNotification",
                                 [this](const auto&) { isAsked = true; });
        },
    };
    for (const auto& prepare : waits) {
        isAsked = false;
        prepare();
        manager->readNetworkScanSettingsFile();
        while (!isAsked) {
            std::this_thread::yield();
        }
        journal.take();
        EXPECT_EQ(manager->stopNetworkService(), 1);
        const auto isQuestion = [](const std::string& line) { return line.starts_with("send "); };
        EXPECT_EQ(std::ranges::count_if(journal.take(), isQuestion), 0);
    }
}

} // namespace
} // namespace trigora
