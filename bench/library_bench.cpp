// Measures single functions of the system on real files, in a temporary root and home.

#include "bench/Distribution.h"
#include "catalogue/events/TrMonitorEventInformation.h"
#include "files/InstalledPaths.h"
#include "files/TrFilePathUtility.h"
#include "monitor/TgaSurveillant.h"
#include "netscan/exchange/PanelJobExchange.h"
#include "netscan/panel/PanelDriver.h"
#include "netscan/panel/PanelJobList.h"
#include "netscan/settings/TgaNetworkSettingsManager.h"
#include "platform/LowMemory.h"
#include "tests/fakes/PlatformTest.h"

#include <benchmark/benchmark.h>

#include <cstring>
#include <dirent.h>
#include <dlfcn.h>
#include <filesystem>
#include <fstream>

namespace trigora::bench {
namespace {

constexpr int watchedFiles = 100000;
constexpr std::int32_t newProtocol = 110;

/// The platform of the tests, outside of a test.
class Surroundings : public test::PlatformTest {
public:
    Surroundings() {
        makeFolder("/Applications/Viewer.app");
        writeFile(TrFilePathUtility::sharedFilePathUtility()->customFolderProjectFolderPath() + "/Watch.plg",
                  "[Launch]\nProjectID=701\nProjectType=0x0002\nActionID=900\n"
                  "[Event_Launch_MacX]\nAppPath=/Applications/Viewer.app\nOption=0x0001\n");
        panelDriver = installModule(PANEL_DRIVER, paths::panelDriverModule());
        const std::string application = paths::documentCaptureApplication();
        writePropertyList(application + "/Contents/Info.plist", Dictionary{});
        installModule(JOB_INTERFACE, application + "/Contents/Resources/ScrivanaInterface.bundle");
    }

    std::string watchedFolder() {
        const std::string folder = onDisk("~/watched");
        std::filesystem::create_directories(folder);
        for (int i = 0; i < watchedFiles; ++i) {
            std::ofstream(folder + "/Scanned document " + std::to_string(i) + ".pdf");
        }
        return folder;
    }
    void passSeconds(double seconds) { loop.advance(seconds); }

    std::string panelDriver; ///< its file on the disk

private:
    std::string installModule(const char* built, const std::string& bundle) {
        writePropertyList(bundle + "/Contents/Info.plist", Dictionary{{"CFBundleExecutable", "Module"}});
        makeFolder(bundle + "/Contents/MacOS");
        std::string file = onDisk(bundle + "/Contents/MacOS/Module");
        std::filesystem::copy_file(built, file);
        return file;
    }
    void TestBody() override {}
};

std::size_t bareListing(const std::string& folder) {
    std::size_t count = 0;
    DIR* directory = opendir(folder.c_str());
    while (readdir(directory) != nullptr) {
        ++count;
    }
    closedir(directory);
    return count;
}

/// The time of a check; bare listings of the same folder are measured in between and told beside it.
void watchedFolderCheck(benchmark::State& state) {
    Surroundings surroundings;
    const std::string folder = surroundings.watchedFolder();
    const auto event = std::make_shared<TrMonitorEventInformation>();
    event->setMonitorFolderPath(folder);
    event->setTimeInterval(Value(1));
    event->setConnectedProjectID("701");
    TgaSurveillant watcher;
    if (!watcher.setupMonitorSettings(event)) {
        state.SkipWithError("the folder is not watched");
    }
    Distribution checks;
    Distribution listings;
    for ([[maybe_unused]] const auto iteration : state) {
        const auto start = std::chrono::steady_clock::now();
        benchmark::DoNotOptimize(bareListing(folder));
        const auto listed = std::chrono::steady_clock::now();
        surroundings.passSeconds(1);
        const auto checked = std::chrono::steady_clock::now();
        listings.add(listed - start);
        checks.add(checked - listed);
        state.SetIterationTime(std::chrono::duration<double>(checked - listed).count());
    }
    state.counters["listing_ms"] = listings.median() / 1000;
    state.counters["check_ms"] = checks.median() / 1000;
    state.counters["ratio"] = checks.median() / listings.median();
}
BENCHMARK(watchedFolderCheck)->UseManualTime()->Unit(benchmark::kMillisecond)->Iterations(15);

std::vector<Dictionary> savedJobs() {
    std::vector<Dictionary> jobs;
    for (int i = 1; i <= 30; ++i) {
        jobs.push_back({{"name", "Scan for the accounts no. " + std::to_string(i)},
                        {"scanSetting", Dictionary{{"resolution", 300},
                                                   {"pixelDataType", 2},
                                                   {"functionalUnitType", 3},
                                                   {"documentType", 3},
                                                   {"duplexScanningEnabled", true}}},
                        {"saveSetting", Dictionary{{"imageUTType", "com.adobe.pdf"}}},
                        {"transportSetting", Dictionary{{"identifier", "com.pelox.MailTransporter"}}}});
    }
    return jobs;
}

void jobListOf30BuiltAndSent(benchmark::State& state) {
    const Surroundings surroundings;
    const auto driver = PanelDriver::create();
    const std::vector<Dictionary> jobs = savedJobs();
    if (!driver) {
        state.SkipWithError("no panel driver");
        return;
    }
    PanelConnection connection(*driver);
    if (!connection.open("192.0.2.7")) {
        state.SkipWithError("no connection");
        return;
    }
    for ([[maybe_unused]] const auto iteration : state) {
        auto list = PanelJobList::withJobs(jobs, isOldJobList(newProtocol), true);
        list->setDigestedPassword("0123456789AB", "secret");
        if (!connection.send(std::move(*list), newProtocol)) {
            state.SkipWithError("not sent");
        }
    }
}
BENCHMARK(jobListOf30BuiltAndSent)->Unit(benchmark::kMicrosecond);

/// The whole call of the scan module, from the panel's request to the agent's answer.
void panelAskingForJobListOf30(benchmark::State& state) {
    const Surroundings surroundings;
    void* const library = dlopen(surroundings.panelDriver.c_str(), RTLD_NOW | RTLD_LOCAL);
    const auto* wholeLists =
        library == nullptr ? nullptr : static_cast<const unsigned*>(dlsym(library, "wholeLists"));
    if (wholeLists == nullptr) {
        state.SkipWithError("no panel driver");
        return;
    }
    _PSMLPANELSCANJOBINFO record{};
    std::strcpy(record.productID, "PRODUCT");
    std::strcpy(record.ipAddress, "C0000207");
    std::memcpy(record.hardwareAddress, "0123456789AB", sizeof record.hardwareAddress);
    record.protocolVersion = newProtocol;
    PanelEventContext* context = TgaNetworkSettingsManager::sharedNetworkSettingsManager().get();
    unsigned calls = *wholeLists;
    for ([[maybe_unused]] const auto iteration : state) {
        eventCallback(nullptr, NSM_EVENT_JOB_LIST, &record, 0, context);
        if (*wholeLists != ++calls) {
            state.SkipWithError("no whole list has arrived");
            break;
        }
    }
    dlclose(library);
}
BENCHMARK(panelAskingForJobListOf30)->Unit(benchmark::kMicrosecond);

std::uint32_t lowText(const std::shared_ptr<void>& memory, const char* text) {
    std::strcpy(static_cast<char*>(memory.get()), text);
    return trigora_address32(memory.get());
}

void discoveryOfKnownScanner(benchmark::State& state) {
    const Surroundings surroundings;
    const auto manager = TgaNetworkSettingsManager::sharedNetworkSettingsManager();
    for (int i = 0; i < 100; ++i) {
        manager->setDSName("Driver " + std::to_string(i), "PRODUCT-" + std::to_string(i));
    }
    const auto productID = platform::current().lowMemory.allocate(32);
    const auto version = platform::current().lowMemory.allocate(32);
    const auto address = platform::current().lowMemory.allocate(32);
    const _NSMDiscovery discovery{
        {0, 0}, lowText(productID, "PRODUCT-77"), lowText(version, "1.0"), lowText(address, "192.0.2.7")};
    PanelEventContext* context = manager.get();
    for ([[maybe_unused]] const auto iteration : state) {
        if (discoveryCallBack(&discovery, context) != NSM_SCANNER_SERVED) {
            state.SkipWithError("the scanner is not known");
        }
    }
}
BENCHMARK(discoveryOfKnownScanner)->Unit(benchmark::kMicrosecond);

} // namespace
} // namespace trigora::bench

BENCHMARK_MAIN();
