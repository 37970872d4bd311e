#include "agent/service/TgaServiceManager.h"
#include "files/NotificationNames.h"
#include "netscan/settings/DriverNames.h"
#include "platform/LowMemory.h"
#include "tests/netscan/NetworkPanelTest.h"

#include <filesystem>
#include <future>

namespace trigora {
namespace {

using test::Lines;

class Discovery : public test::NetworkPanelTest {
protected:
    Discovery() {
        announcement.productID = lowText("PID 0142");
        announcement.versionInformation = lowText("1.0");
        announcement.ipAddress = lowText("192.168.0.1");
    }
    std::int32_t announce() {
        return discoveryCallBack(&announcement, static_cast<PanelEventContext*>(manager.get()));
    }
    void installScanAssistant() { writeFile(paths::scanAssistantExecutable(), ""); }
    /// From now on the scan assistant answers so when it is asked for a driver's name.
    void answerWith(const Dictionary& answer) {
        TgaServiceManager::sharedServiceManager()->setupService();
        notifications.onPost(notifications::replyDriverNameWithIPAddress, [this, answer](const auto&) {
            processes.exit("PScanAssistant");
            notifications.receive(notifications::didGetDriverNameWithIPAddress, answer);
        });
    }

    _NSMDiscovery announcement{};
};

const std::string request = "post! ReplyDriverNameWithIPAddressDistributedNotification "
                            "{IPAddress = 192.168.0.1;}";

TEST_F(Discovery, AScannerThatNobodyKnowsIsNotServed) {
    EXPECT_EQ(announce(), 2);
    EXPECT_EQ(journal.take(), Lines{});
    EXPECT_EQ(manager->dsNameWithScopeList("PID 0142"), std::nullopt);
    EXPECT_EQ(discoveryCallBack(nullptr, static_cast<PanelEventContext*>(manager.get())), 2);
    EXPECT_EQ(discoveryCallBack(&announcement, nullptr), 2);
}

TEST_F(Discovery, ANameOnceFoundIsKept) {
    idConverter.twainIDs["PID 0142"] = "GX Scanner";
    EXPECT_EQ(announce(), 1);
    EXPECT_EQ(manager->dsNameWithScopeList("PID 0142"), "GX Scanner");
    idConverter.twainIDs.clear();
    EXPECT_EQ(announce(), 1);
    announcement.versionInformation = lowText("Ver 2");
    jobs.supportsPushScan = false;
    EXPECT_EQ(announce(), 1);
    EXPECT_EQ(journal.take(), Lines{});
    announcement.productID = lowText("PID 0143");
    EXPECT_EQ(announce(), 2) << "another scanner";
}

TEST_F(Discovery, AScannerWithJobListsIsServedByTheJobInterface) {
    idConverter.twainIDs["PID 0142"] = "not asked for";
    for (const char* version : {"Ver", "x Ver.2"}) {
        announcement.versionInformation = lowText(version);
        EXPECT_EQ(announce(), 1);
        jobs.supportsPushScan = false;
        EXPECT_EQ(announce(), 2);
        jobs.areThere = false;
        EXPECT_EQ(announce(), 2);
        jobs.areThere = jobs.supportsPushScan = true;
        EXPECT_EQ(journal.take(), Lines(3, "jobs for PID 0142"));
    }
    EXPECT_EQ(manager->dsNameWithScopeList("PID 0142"), std::nullopt);
    announcement.versionInformation = lowText("ver");
    EXPECT_EQ(announce(), 1) << "the converter knows it";
    EXPECT_EQ(journal.take(), Lines{});
}

TEST_F(Discovery, ADriverThatIsBeingLookedUpForAnotherIsNotFound) {
    const std::string settings = paths::scanSettingsApplication();
    writePropertyList(settings + "/Contents/Info.plist", Dictionary{{"CFBundleExecutable", "Settings"}});
    writeFile(settings + "/Contents/MacOS/Settings", "");
    clock.onSleep = [this] { processes.exit("Settings"); };
    idConverter.twainIDs["PID 0142"] = "GX Scanner";
    std::int32_t answerMeanwhile = 0;
    appleEvents.answer = [&](const auto&, const auto&) {
        answerMeanwhile = announce();
        return platform::AppleEventReply{platform::errAETimeout, {}};
    };
    char name[driverNameSize] = {};
    EXPECT_EQ(getDSName("PID 0143", name), -2);
    EXPECT_EQ(answerMeanwhile, 2);
    EXPECT_EQ(announce(), 1) << "later";
}

TEST_F(Discovery, TheLogSaysWhatWasAnsweredAndWhy) {
    systemInformation.hasNewerDriver = false;
    logged();
    EXPECT_EQ(announce(), 2);
    const std::string asked = "discoveryCallBack productID = PID 0142";
    const std::string answered = "discoveryCallBack result = 2";
    EXPECT_EQ(logged(), (Lines{asked, "no driver is known for PID 0142", answered}));
    announcement.versionInformation = lowText("Ver");
    jobs.supportsPushScan = false;
    EXPECT_EQ(announce(), 2);
    EXPECT_EQ(logged(), (Lines{asked, "[jobif isPushScanSupported] == NO", answered}));
    jobs.areThere = false;
    EXPECT_EQ(announce(), 2);
    EXPECT_EQ(logged(), (Lines{asked, "jobif is null", answered}));
}

TEST_F(Discovery, AScannerOfTheButtonManagerIsServedWithoutAsking) {
    startButtonManager();
    jobs.supportsPushScan = false;
    for (const char* version : {"1.0", "Ver"}) {
        announcement.versionInformation = lowText(version);
        EXPECT_EQ(announce(), 1);
    }
    EXPECT_EQ(journal.take(), Lines{});
    EXPECT_EQ(manager->dsNameWithScopeList("PID 0142"), std::nullopt);
}

TEST_F(Discovery, TheScanAssistantIsAskedForTheDriversName) {
    installScanAssistant();
    answerWith({{"DriverName", "Told"}});
    EXPECT_EQ(announce(), 1);
    const Lines lines = journal.take();
    EXPECT_EQ(lines, (Lines{"launch " + paths::scanAssistantExecutable(), request}));
    EXPECT_EQ(manager->dsNameWithScopeList("PID 0142"), "Told");
    EXPECT_EQ(announce(), 1);
    EXPECT_EQ(journal.take(), Lines{});
}

TEST_F(Discovery, OnlyARecentDriverOnARecentSystemIsAsked) {
    struct {
        std::int32_t system;
        std::optional<std::string> driver;
        bool isSet, hasAddress, isAsked;
    } const rows[] = {
        {0x1060, std::nullopt, true, true, true},   {0x105F, std::nullopt, true, true, false},
        {0x1060, std::nullopt, true, false, false}, {0x1060, std::nullopt, false, true, false},
        {0x1060, "5.3.3", false, true, true},       {0x105F, "5.3.3", true, true, false},
        {0x1060, "5.3.2", true, true, false},       {0x1060, "4.9", false, true, true},
    };
    installScanAssistant();
    for (const auto& row : rows) {
        systemInformation.version = row.system;
        systemInformation.hasNewerDriver = row.isSet;
        remove(paths::imageCaptureDriver());
        if (row.driver) {
            writePropertyList(paths::imageCaptureDriver() + "/Contents/Info.plist",
                              Dictionary{{"CFBundleShortVersionString", *row.driver}});
        }
        const address32 address = announcement.ipAddress;
        announcement.ipAddress = row.hasAddress ? address : 0;
        EXPECT_EQ(announce(), 2);
        announcement.ipAddress = address;
        const Lines lines = journal.take();
        EXPECT_EQ(!lines.empty() && lines.back() == request, row.isAsked) << row.system;
        EXPECT_EQ(lines.empty(), !row.isAsked);
        processes.exit("PScanAssistant");
    }
    remove(paths::scanAssistantExecutable());
    EXPECT_EQ(announce(), 2);
    EXPECT_EQ(journal.take(), Lines{}) << "no assistant";
}

TEST_F(Discovery, TheAnswerIsWaitedForByProcessorTime) {
    processes.appear("PScanAssistant");
    clock.processorShare = 0.25;
    int sleeps = 0;
    clock.onSleep = [&] { ++sleeps; };
    EXPECT_EQ(announce(), 2);
    EXPECT_EQ(sleeps, 400);
    EXPECT_EQ(journal.take(), Lines{request});
}

TEST_F(Discovery, TheWaitEndsWhenNoNameWillCome) {
    clock.processorShare = 0.001; // else it lasts a thousand seconds
    int sleeps = 0;
    clock.onSleep = [&] { ++sleeps; };
    installScanAssistant();
    answerWith({});
    notifications.receive(notifications::didGetDriverNameWithIPAddress,
                          Dictionary{{"DriverName", "another scanner's"}});
    for (const Dictionary& nameless : {Dictionary{}, Dictionary{{"DriverName", ""}}}) {
        answerWith(nameless);
        processes.appear("PScanAssistant");
        sleeps = 0;
        EXPECT_EQ(announce(), 2);
        EXPECT_EQ(sleeps, 1);
    }
    notifications.onPost(notifications::replyDriverNameWithIPAddress,
                         [this](const auto&) { processes.exit("PScanAssistant"); });
    processes.appear("PScanAssistant");
    sleeps = 0;
    EXPECT_EQ(announce(), 2) << "the assistant has died";
    EXPECT_EQ(sleeps, 100);
    EXPECT_EQ(manager->dsNameWithScopeList("PID 0142"), std::nullopt);
}

TEST_F(Discovery, NobodyIsAskedOnTheThreadThatStartsTheService) {
    static const _NSMDiscovery* announced;
    static std::vector<std::int32_t> answers;
    announced = &announcement;
    answers.clear();
    processes.appear("PScanAssistant");
    writePropertyList(std::string(agentBundlePath) + "/Contents/Info.plist", Dictionary{});
    install("NetScan", std::string(agentBundlePath) + "/Contents/PlugIns/NetScanBundle.bundle",
            test::NetScanFunctions{[]() -> std::int32_t { return 1; },
                                   [](NSMDiscoveryCallback discovery, NSMEventCallback, NSMErrorCallback,
                                      void* context, void*, void*) {
                                       answers.push_back(discovery(announced, context));
                                       return answers.size() == 1 ? throw std::bad_alloc() : 1;
                                   },
                                   []() -> std::int32_t { return 1; },
                                   [](const char*, std::uint32_t) -> std::int32_t { return 1; }});
    for (int turn = 0; turn < 2; ++turn) {
        manager->readNetworkScanSettingsFile();
    }
    EXPECT_EQ(answers, (std::vector<std::int32_t>{2, 2}));
    EXPECT_EQ(journal.take(), Lines{});
    EXPECT_EQ(announce(), 2);
    EXPECT_EQ(journal.take(), Lines{request}) << "later";
}

TEST_F(Discovery, ScannersDoNotWaitForTheQuestionAboutAnother) {
    manager->setDSName("Known", "PID 0001");
    processes.appear("PScanAssistant");
    clock.processorShare = 0; // the wait ends with the answer only
    const auto announceLater = [this](const std::string& productID, const std::string& version) {
        _NSMDiscovery other = announcement;
        other.productID = lowText(productID);
        other.versionInformation = lowText(version);
        return std::async(std::launch::async, [this, other] {
            return discoveryCallBack(&other, static_cast<PanelEventContext*>(manager.get()));
        });
    };
    std::vector<std::future<std::int32_t>> others;
    TgaServiceManager::sharedServiceManager()->setupService();
    notifications.onPost(notifications::replyDriverNameWithIPAddress, [&](const auto&) {
        others.push_back(announceLater("PID 0001", "1.0"));
        others.push_back(announceLater("PID 0002", "Ver 1"));
        others.push_back(announceLater("PID 0003", "1.0")); // needs a question, too
        for (const auto& other : others) {
            EXPECT_EQ(other.wait_for(std::chrono::seconds(5)), std::future_status::ready);
        }
        processes.exit("PScanAssistant");
        notifications.receive(notifications::didGetDriverNameWithIPAddress,
                              Dictionary{{"DriverName", "Told"}});
    });
    EXPECT_EQ(announce(), 1);
    EXPECT_EQ(others.at(0).get(), 1);
    EXPECT_EQ(others.at(1).get(), 1);
    EXPECT_EQ(others.at(2).get(), 2);
}

TEST_F(Discovery, AddressesThatLeadNowhereAreNoTexts) {
    // The last bytes of a page with nothing behind them.
    const std::size_t page = 4096;
    auto* pages = static_cast<char*>(trigora_low_alloc(2 * page));
    ASSERT_NE(pages, nullptr);
    trigora_low_free(pages + page, page);
    char* const unterminated = pages + page - 3;
    std::fill_n(unterminated, 3, 'V');
    idConverter.twainIDs["PID 0142"] = "GX Scanner";
    const address32 productID = announcement.productID;
    for (const address32 wrong : {0U, 0x10U, trigora_address32(pages + page), trigora_address32(unterminated),
                                  0xFFFFFFFFU, lowText("\xC3")}) {
        announcement.productID = wrong;
        EXPECT_EQ(announce(), 2) << wrong;
        announcement.productID = productID;
        announcement.versionInformation = announcement.ipAddress = wrong;
        EXPECT_EQ(announce(), 1) << wrong;
        platform::releaseShared<TgaNetworkSettingsManager>();
        manager = TgaNetworkSettingsManager::sharedNetworkSettingsManager();
    }
    trigora_low_free(pages, page);
}

TEST_F(Discovery, TheLastErrorIsKeptForEverybody) {
    const std::string file = "~/Library/Preferences/PELOX/Trigora/Settings/NetWorkLogInfo.plist";
    const auto kept = [&] { return readPropertyList(file); };
    EXPECT_EQ(errorCallback(1, 2, nullptr, nullptr), 1);
    EXPECT_EQ(errorCallback(1, 2, "\xFF", nullptr), 1);
    EXPECT_FALSE(exists(file));
    EXPECT_EQ(errorCallback(1, 2, "first", nullptr), 1);
    EXPECT_EQ(errorCallback(1, 2, "Gerät weg", nullptr), 1);
    EXPECT_EQ(kept(), (Dictionary{{"NetWorkLogInfo", "Gerät weg"}}));
    EXPECT_EQ(std::filesystem::status(onDisk(file)).permissions(), std::filesystem::perms(0666));
    EXPECT_EQ(errorCallback(1, 2, "\xC3", nullptr), 1);
    EXPECT_EQ(kept(), (Dictionary{{"NetWorkLogInfo", "Gerät weg"}}));
    const std::string half(65535, 'x');
    EXPECT_EQ(errorCallback(1, 2, (half + "ä and more").c_str(), nullptr), 1);
    EXPECT_EQ(kept(), (Dictionary{{"NetWorkLogInfo", half}}));
    remove(file);
    makeFolder(file);
    EXPECT_EQ(errorCallback(1, 2, "no place", nullptr), 1);
}

} // namespace
} // namespace trigora
