#include "tests/netscan/NetworkPanelTest.h"
#include "usbscan/TgaButtonManager.h"

#include <thread>

namespace trigora {
namespace {

/// A module that calls back on eight threads from its start until its stop, as fast as it can.
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
    void callBack(int round, address32 productID, void* context) {
        _NSMDiscovery found = announcement;
        _PSMLPANELSCANJOBINFO job = record;
        NSMScanRequest request{};
        test::setField(request.modelName, "Scanner One");
        test::setField(request.ipAddress, "192.168.0.1");
        found.productID = productID;
        job.command = round % 6;
        switch (round % 6) {
        case 0:
            results |= discoveryCallBack(&found, context);
            break;
        case 1:
            results |= eventCallback(nullptr, 3, &request, 0, context);
            break;
        case 2:
            results |= errorCallback(1, 2, "an error", context);
            break;
        default:
            results |= eventCallback(nullptr, 1 + round % 6, &job, 0, context);
        }
    }
    /// Lets the threads make some calls.
    void letThemCall(int count) {
        const int end = calls + count;
        while (calls < end) {
            std::this_thread::yield();
        }
    }

    static constexpr int threadCount = 8;
    static inline BusyModule* busy = nullptr;
    _NSMDiscovery announcement{};
    std::vector<address32> productIDs;
    std::atomic<bool> isStopping = false;
    std::atomic<int> calls = 0;
    std::atomic<int> results = 0;
    std::atomic<bool> isAsked = false;
    std::vector<std::thread> threads;
};

TEST_F(BusyModule, MayCallOnManyThreadsWhileSettingsChangeAndTheAgentEnds) {
    jobs.list = R"([{"name": "One"}, {"name": "Two"}])";
    jobs.password = "secret";
    idConverter.twainIDs["PID 3"] = "GX Scanner";
    // The newer driver and its assistant are there too, so that some announcements wait for an answer.
    writePropertyList(paths::imageCaptureDriver() + "/Contents/Info.plist",
                      Dictionary{{"CFBundleShortVersionString", "5.4"}});
    processes.appear("PScanAssistant");
    manager->readNetworkScanSettingsFile();
    letThemCall(20);
    startButtonManager();
    buttonManagerServes = false;
    letThemCall(20);
    manager->readNetworkScanSettingsFile();
    buttonManagerServes = true;
    letThemCall(20);
    loop.runPending();
    TgaButtonManager::sharedButtonManager()->stop();
    EXPECT_EQ(manager->stopNetworkService(), 1);
    EXPECT_TRUE(threads.empty());
    EXPECT_GT(calls, 60);
    EXPECT_EQ(results & ~(1 | 2 | 8 | 9), 0);
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
        // They do not come up.
        [this] {
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
            writePropertyList(paths::imageCaptureDriver() + "/Contents/Info.plist",
                              Dictionary{{"CFBundleShortVersionString", "5.4"}});
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
