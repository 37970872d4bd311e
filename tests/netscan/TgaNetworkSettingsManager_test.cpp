#include "netscan/settings/TgaNetworkSettingsManager.h"

#include "files/InstalledPaths.h"
#include "tests/netscan/ModuleTest.h"

namespace trigora {
namespace {

using test::Lines;

const std::string settingsFile = "~/Library/Preferences/PELOX/Trigora/Settings/NetWorkScanSetting.plist";
const std::string formerSettingsFile = "~/Library/Preferences/MRA2.3/NetWorkScanStting.plist";

class NetworkSettings : public test::ModuleTest {
protected:
    const std::string modulePath = std::string(agentBundlePath) + "/Contents/PlugIns/NetScanBundle.bundle";

    void installNetScan(const std::string& module = "NetScan") {
        installAgent();
        install(module, modulePath,
                test::NetScanFunctions{
                    []() -> std::int32_t {
                        self->journal.add("NSMInitial");
                        return 5;
                    },
                    [](NSMDiscoveryCallback discovery, NSMEventCallback event, NSMErrorCallback error,
                       void* first, void* second, void* third) {
                        self->journal.add("NSMStartService");
                        EXPECT_TRUE(discovery == &discoveryCallBack && error != nullptr);
                        EXPECT_TRUE(first == second && second == third && first != nullptr);
                        EXPECT_EQ(event(nullptr, 1, nullptr, 0, second), 8);
                        return startResult;
                    },
                    []() -> std::int32_t {
                        self->journal.add("NSMStopService");
                        return stopResult == thrown ? throw std::bad_alloc() : stopResult;
                    },
                    [](const char* name, std::uint32_t count) -> std::int32_t {
                        self->journal.add(std::string("NSMSetPCName ") + name + " " + std::to_string(count));
                        return 1;
                    }});
        startResult = stopResult = 1;
    }
    void installAgent() {
        writePropertyList(std::string(agentBundlePath) + "/Contents/Info.plist", Dictionary{});
    }
    void writeSettings(const Dictionary& settings) { writePropertyList(settingsFile, settings); }
    /// Reads the settings; gives what the module was told and the seconds that it took.
    std::pair<Lines, double> read() {
        const double start = clock.monotonicSeconds();
        TgaNetworkSettingsManager::sharedNetworkSettingsManager()->readNetworkScanSettingsFile();
        return {journal.take(), clock.monotonicSeconds() - start};
    }
    static std::int32_t stop() {
        return TgaNetworkSettingsManager::sharedNetworkSettingsManager()->stopNetworkService();
    }

    static constexpr std::int32_t thrown = 99;
    static inline std::int32_t startResult = 1;
    static inline std::int32_t stopResult = 1;
};

using Told = std::pair<Lines, double>;

TEST_F(NetworkSettings, AreBroughtIntoEffectAtEveryReading) {
    installNetScan();
    writeSettings({{"PCName", "Büro 🖨"}});
    EXPECT_EQ(read(), (Told{{"NSMInitial", "NSMStartService", "NSMSetPCName Büro 🖨 7"}, 0}));
    EXPECT_EQ(read(), (Told{{"NSMStopService", "NSMStartService", "NSMSetPCName Büro 🖨 7"}, 3}));
    writeSettings({{"EnableNetWorkScan", false}, {"PCName", "Desk"}});
    EXPECT_EQ(read(), (Told{{"NSMStopService", "NSMSetPCName Desk 4"}, 3}));
    EXPECT_EQ(read(), (Told{{"NSMSetPCName Desk 4"}, 0}));
    writeSettings({{"EnableNetWorkScan", true}});
    EXPECT_EQ(read(), (Told{{"NSMStartService"}, 0}));
    EXPECT_EQ(stop(), 1);
    EXPECT_EQ(journal.take(), Lines{"NSMStopService"});
    EXPECT_EQ(stop(), 1);
    EXPECT_EQ(journal.take(), Lines{});
}

TEST_F(NetworkSettings, AreReadFromTheirFormerPlaceWhenThePresentOneIsEmpty) {
    installNetScan();
    writePropertyList(formerSettingsFile, Dictionary{{"EnableNetWorkScan", false}, {"PCName", "Old"}});
    EXPECT_EQ(read().first, Lines{}) << "the module is not loaded for a name alone";
    writeSettings({{"PCName", "New"}});
    EXPECT_EQ(read().first, (Lines{"NSMInitial", "NSMStartService", "NSMSetPCName New 3"}));
    const auto manager = TgaNetworkSettingsManager::sharedNetworkSettingsManager();
    for (const std::string& damaged : {std::string("no property list"), std::string()}) {
        writeFile(settingsFile, damaged);
        EXPECT_EQ(read().first, (Lines{"NSMStopService", "NSMStartService"})) << "on, without a name";
        EXPECT_EQ(manager->networkScanName(), std::nullopt);
    }
    writePropertyList(settingsFile, Dictionary{{"EnableNetWorkScan", Array{}}, {"PCName", 7}});
    EXPECT_EQ(read().first, (Lines{"NSMStopService", "NSMStartService"}));
    EXPECT_TRUE(manager->isEnableNetworkScan());
}

TEST_F(NetworkSettings, AServiceThatDoesNotStartOrStopKeepsItsState) {
    installNetScan();
    read();
    stop();
    journal.take();
    for (const std::int32_t noYes : {0, -1, 2, 9}) {
        startResult = noYes;
        EXPECT_EQ(read().first, Lines{"NSMStartService"}) << noYes;
        EXPECT_EQ(stop(), 1);
        EXPECT_EQ(journal.take(), Lines{}) << "it never ran";
        startResult = 1;
        read();
        stopResult = noYes;
        EXPECT_EQ(read(), (Told{{"NSMStopService"}, 3})) << "it runs still and is not started again";
        EXPECT_EQ(stop(), noYes);
        stopResult = thrown;
        EXPECT_EQ(read().second, 3);
        EXPECT_EQ(stop(), 0);
        stopResult = 1;
        EXPECT_EQ(stop(), 1);
        journal.take();
    }
}

TEST_F(NetworkSettings, AModuleThatIsMissingOrPoorDoesNoHarm) {
    writeSettings({{"PCName", "Desk"}});
    EXPECT_EQ(read().first, Lines{}) << "no agent bundle";
    installAgent();
    EXPECT_EQ(read().first, Lines{}) << "no module";
    writePropertyList(modulePath + "/Contents/Info.plist", Dictionary{{"CFBundleExecutable", "Module"}});
    writeFile(modulePath + "/Contents/MacOS/Module", "no code");
    EXPECT_EQ(read().first, Lines{});
    remove(modulePath);
    installNetScan("NetScanOnlyStart");
    EXPECT_EQ(read(), (Told{{"NSMStartService"}, 0}));
    EXPECT_EQ(stop(), 0) << "there is nothing to stop it with";
    remove(modulePath);
    platform::releaseShared<TgaNetworkSettingsManager>();
    installEmpty(modulePath);
    EXPECT_EQ(read().first, Lines{});
    EXPECT_EQ(stop(), 1);
}

TEST_F(NetworkSettings, AManagerThatGoesStopsItsService) {
    installNetScan();
    read();
    platform::releaseShared<TgaNetworkSettingsManager>();
    EXPECT_EQ(journal.take(), Lines{"NSMStopService"});
    EXPECT_EQ(read().first, (Lines{"NSMInitial", "NSMStartService"})) << "loaded afresh";
    EXPECT_EQ(stop(), 1);
}

TEST_F(NetworkSettings, AVersionIsComparedByARuleThatNeverSaysNoEarly) {
    struct {
        const char* version;
        const char* key;
        bool isAbove;
    } const rows[] = {{"5.3.3", "5.3.3", true},  {"5.3.2", "5.3.3", false}, {"5.4", "5.3.3", true},
                      {"4.9.0", "5.3.3", true},  {"4.2.2", "5.3.3", false}, {"5.3.3.0", "5.3.3", false},
                      {"5.3", "5.3.3", true},    {"5", "5.3.3", true},      {"4", "5.3.3", false},
                      {"", "5.3.3", false},      {"", "0", true},           {"x", "0.1", true},
                      {"5.3.10", "5.3.3", true}, {"-1", "-2", true},        {"5.3.3b", "5.3.3", true},
                      {"1.0", "", true}};
    for (const auto& row : rows) {
        EXPECT_EQ(TgaNetworkSettingsManager::isCompareVersionAboveKeyVersion(row.version, row.key),
                  row.isAbove)
            << row.version << " " << row.key;
    }
}

} // namespace
} // namespace trigora
