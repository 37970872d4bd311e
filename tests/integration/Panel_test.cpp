#include "platform/Text.h"
#include "platform/linux/bus/BusAppleEvents.h"
#include "platform/linux/bus/BusNames.h"
#include "simulators/simulation/Simulation.h"
#include "tests/integration/RunningAgentTest.h"
#include "tools/commands/Commands.h"
#include "tools/panel/PanelSimulation.h"

#include <csignal>
#include <filesystem>
#include <future>
#include <set>
#include <sstream>

namespace trigora {
namespace {

using nlohmann::json;
using test::Lines;

/// What a run of trigoractl came to.
struct Played {
    int exitCode = 0;
    std::string printed;
    std::string complaint;

    bool operator==(const Played&) const = default;
    friend void PrintTo(const Played& played, std::ostream* out) {
        *out << played.exitCode << ' ' << played.printed << played.complaint;
    }
};

/// Somebody at a scanner's panel, and a running agent with the simulated modules.
class PanelTest : public test::RunningAgentTest {
protected:
    PanelTest() {
        setenv("TRIGORA_SIMULATORS", (home + "/simulators").c_str(), 1);
        makeFolder("~/simulators");
        std::filesystem::copy(SIMULATED_ROOT, std::filesystem::path(onDisk("/Applications")).parent_path(),
                              std::filesystem::copy_options::recursive |
                                  std::filesystem::copy_options::overwrite_existing);
        writePropertyList(paths::agentApplication() + "/Contents/Info.plist",
                          Dictionary{{"CFBundleExecutable", "TrigoraAgent"}});
    }
    ~PanelTest() override { unsetenv("TRIGORA_SIMULATORS"); }

    /// Starts the agent and waits until all modules have been started.
    void startAgent() {
        RunningAgentTest::startAgent();
        const auto simulation = tools::PanelSimulation::open(tools::PanelSimulation::Connection::network);
        EXPECT_TRUE(waitUntil([&] {
            const std::vector<json> calls = simulation->callsSince(0);
            return !calls.empty() && calls.back()["call"] == "startNWDeviceObservation";
        })) << agentErrors();
    }

    void set(const json& settings) { simulators::writeObject("settings.json", settings); }

    /// "trigoractl panel" with the words.
    static Played panel(const std::string& words) {
        std::vector<std::string> line{"panel"};
        std::istringstream stream(words);
        for (std::string word; stream >> word;) {
            line.push_back(word);
        }
        std::ostringstream out;
        std::ostringstream err;
        const int exitCode = tools::runCommandLine(tools::commands(), line, out, err);
        return {exitCode, out.str(), err.str()};
    }

    /// The calls of the modules since the last time. Objects of the job interface come and go with each
    /// request and are left out.
    std::vector<json> takeCalls() {
        const auto simulation = tools::PanelSimulation::open(tools::PanelSimulation::Connection::network);
        std::vector<json> calls = simulation->callsSince(place_);
        place_ = simulation->journalEnd();
        std::erase_if(calls, [](const json& call) {
            return call["call"] == "jobInterfaceForProductID" || call["call"] == "release";
        });
        return calls;
    }
    Lines takeCallNames() {
        Lines names;
        for (const json& call : takeCalls()) {
            names.push_back(call["call"]);
        }
        return names;
    }
    /// The only call of that name since the last time.
    json takeCall(const std::string& name) {
        json found;
        for (const json& call : takeCalls()) {
            if (call["call"] == name) {
                EXPECT_TRUE(found.is_null()) << name << " more than once";
                found = call;
            }
        }
        return found;
    }

    static json job(const char* name, const json& scanSetting) {
        return {{"name", name},
                {"scanSetting", scanSetting},
                {"saveSetting", {{"imageUTType", "public.tiff"}}},
                {"transportSetting", {{"identifier", "com.pelox.FTPTransporter"}}},
                {"prohibitsEdit", true}};
    }

private:
    std::int64_t place_ = 0;
};

const json twoJobs(const std::function<json(const char*, const json&)>& job) {
    return {job("Första", {{"resolution", 400}, {"functionalUnitType", -1}}),
            job("Second", {{"resolution", 600},
                           {"functionalUnitType", 3},
                           {"duplexScanningEnabled", true},
                           {"pixelDataType", 1},
                           {"documentType", 4},
                           {"requiresContinueScanning", true}})};
}

/// The options that reach the application when the second of the two jobs is picked unchanged.
json optionsOfSecondJob() {
    return {
        {"continue", 1},
        {"errorRecovery", 1},
        {"timeout", 60},
        {"jobSetting",
         {{"saveSetting", {{"formatSetting", {{"savesAsOneFile", false}}}, {"imageUTType", "public.tiff"}}},
          {"scanSetting",
           {{"documentType", 4},
            {"duplexScanningEnabled", true},
            {"functionalUnitType", 3},
            {"landscapeEnabled", 0},
            {"pixelDataType", 1},
            {"resolution", 600}}}}}};
}

const std::string zeros120(240, '0');

/// An entry's bytes behind the address of its name, which differs from run to run.
std::string bytesBehindName(const json& entry) { return entry["bytes"].get<std::string>().substr(8); }

void expectTheTwoJobs(const json& list) {
    ASSERT_EQ(list["entries"].size(), 2U);
    EXPECT_EQ(list["entries"][0]["wcJobName"], "Första");
    EXPECT_EQ(bytesBehindName(list["entries"][0]), "010100039001030000010300" + zeros120);
    EXPECT_EQ(list["entries"][1]["wcJobName"], "Second");
    EXPECT_EQ(bytesBehindName(list["entries"][1]), "020301025802020200010300" + zeros120);
    EXPECT_EQ(list["lastBytes"], std::string(272, '0'));
    EXPECT_EQ(list["header"]["bytes"], "020000008a7f31a7f63558e1ec29f627b549a3bc");
}

TEST_F(PanelTest, PlaysANetworkSession) {
    set({{"jobs", twoJobs(job)}, {"password", "secret"}});
    startAgent();
    takeCalls();
    const Played played = panel("session 2 --ip C0A80014");
    EXPECT_EQ(played.exitCode, 0) << played.printed << played.complaint << agentErrors();
    const std::vector<json> calls = takeCalls();
    Lines names;
    for (const json& call : calls) {
        names.push_back(call["call"]);
        if (call.contains("isOpen") && call["call"] != "PDOpen") {
            EXPECT_EQ(call["isOpen"], true) << call;
        }
    }
    const Lines receive{"PDOpen", "PDLock", "PDRecvJobData", "PDUnLock", "PDClose"};
    const std::vector<Lines> steps{{"isPushScanSupported", "isPushScanSupported"}, // button manager, jobs
                                   {"isPushScanSupported", "isOfficeFormatSupported"},
                                   {"PDOpen", "PDLock"},
                                   {"jobs", "isMD5HashedPasswordRequired", "password", "PDSendJobData2"},
                                   {"PDUnLock", "PDClose"},
                                   {"isPushScanSupported"},
                                   receive,
                                   {"isReady", "invokeJobAtIndex"},
                                   {"isPushScanSupported"},
                                   receive,
                                   {"keepAliveJob"},
                                   {"isPushScanSupported"},
                                   receive,
                                   {"completeJob"},
                                   {"completeJobInContext"}};
    Lines expected;
    for (const Lines& step : steps) {
        expected.insert(expected.end(), step.begin(), step.end());
    }
    ASSERT_EQ(names, expected);
    const auto callOf = [&](const char* name) {
        return *std::ranges::find_if(calls, [&](const json& call) { return call["call"] == name; });
    };
    const json open = callOf("PDOpen");
    const std::string address = "3139322e3136382e302e3230"; // 192.168.0.20
    const std::string block = open["bytes"];
    EXPECT_EQ(block.substr(0, 280), "02000000" + std::string(16, '0') + address + std::string(232, '0'));
    EXPECT_EQ(open["hasProgressCallback"], true);
    EXPECT_EQ(open["context"], 0);
    const json list = callOf("PDSendJobData2");
    expectTheTwoJobs(list);
    EXPECT_EQ(list["protocolVersion"], 110);
    const json started = callOf("invokeJobAtIndex");
    EXPECT_EQ(started["options"], optionsOfSecondJob());
    EXPECT_EQ(started["index"], 1);
    EXPECT_EQ(started["ipAddress"], "192.168.0.20");
    EXPECT_EQ(started["productID"], "PID 0147");
}

TEST_F(PanelTest, PlaysAUsbSession) {
    set({{"jobs", twoJobs(job)}, {"password", "secret"}});
    startAgent();
    takeCalls();
    const Played played = panel("session 2 --usb --pid 0x12A");
    EXPECT_EQ(played.exitCode, 0) << played.printed << played.complaint << agentErrors();
    const std::vector<json> calls = takeCalls();
    Lines names;
    for (const json& call : calls) {
        names.push_back(call["call"]);
        if (call["module"] == "ScrivanaInterface") {
            EXPECT_EQ(call["productID"], "PID 012a");
        }
    }
    ASSERT_EQ(names,
              (Lines{"StartEvent", "isOfficeFormatSupported", "jobs", "isMD5HashedPasswordRequired",
                     "password", "PDCreateJobData2", "PDDecodeData", "isReady", "invokeJobAtIndex",
                     "PDDecodeData", "keepAliveJob", "PDDecodeData", "completeJob", "completeJobInContext"}));
    EXPECT_EQ(calls[0]["productID"], 0x12A);
    expectTheTwoJobs(calls[5]);
    EXPECT_EQ(calls[8]["options"], optionsOfSecondJob());
    EXPECT_EQ(calls[8]["ipAddress"], nullptr);
    // The scanner's side finds the encoded list where its record says.
    const json answer = json::parse(panel("list --usb --json").printed, nullptr, false);
    EXPECT_EQ(answer["jobData"], takeCall("PDCreateJobData2")["jobData"]);
}

TEST_F(PanelTest, PlaysWithAPanelDriverOfAnotherMaker) {
    writePropertyList(paths::panelDriverModule() + "/Contents/Info.plist",
                      Dictionary{{"CFBundleExecutable", "PanelDriver"}});
    startAgent();
    takeCalls();
    EXPECT_EQ(panel("session 2").exitCode, 0) << agentErrors();
    EXPECT_EQ(takeCall("invokeJobAtIndex")["index"], 1);
    EXPECT_NE(panel("list").printed.find("is with the installed panel driver"), std::string::npos);
    EXPECT_EQ(panel("connect --usb").exitCode, 0);
    for (const auto& [words, length] : {std::pair("pick 1 --usb --data 0aFF08", 3), {"pick 1 --usb", 0}}) {
        EXPECT_EQ(panel(words).exitCode, 0) << words;
        EXPECT_EQ(takeCall("PDDecodeData")["length"], length) << words;
    }
    for (const char* wrong : {"pick 1 --choices resolution=3", "pick 1 --usb --data 0", "pick 1 --data 0x"}) {
        EXPECT_EQ(panel(wrong).exitCode, 2) << wrong;
    }
}

TEST_F(PanelTest, AnswersWhatTheModulesLetItAnswer) {
    startAgent();
    panel("connect --usb");
    panel("list");
    const struct {
        json settings;
        std::string words;
        int exitCode;
        std::string printed;
        std::set<std::string> called; ///< of the calls that matter here
    } cases[] = {
        {{{"scanners", json::array()}}, "announce", 1, "not served", {}},
        {{{"isPushScanSupported", false}}, "announce", 1, "not served", {}},
        {{{"isReady", false}}, "pick 1", 1, "busy", {"PDRecvJobData", "PDClose"}},
        {{{"isReady", false}}, "pick 1 --usb", 1, "busy", {}},
        {{{"invokeJobAtIndex", false}},
         "pick 1",
         1,
         "failed",
         {"PDRecvJobData", "PDClose", "invokeJobAtIndex"}},
        {{{"invokeJobAtIndex", false}}, "pick 1 --usb", 1, "failed", {"invokeJobAtIndex"}},
        {{{"missing", {"invokeJobAtIndex"}}}, "pick 1", 1, "failed", {"PDRecvJobData", "PDClose"}},
        {{{"PDOpen", 0}}, "pick 1", 0, "done", {}},
        {{{"PDOpen", 0}}, "list", 0, "no jobs", {}},
        {{{"PDLock", 0}}, "list", 0, "no jobs", {}},
        {{{"PDLock", 0}}, "pick 1", 0, "done", {"PDClose", "invokeJobAtIndex"}},
        {{{"missing", {"PDOpen"}}}, "list", 0, "no jobs", {}},
        {{{"PDSendJobData2", 0}}, "list", 1, "failed", {"PDSendJobData2", "PDClose"}},
        {{{"missing", {"PDSendJobData2"}}}, "list", 1, "failed", {"PDClose"}},
        {{{"missing", {"PDCreateJobData2"}}}, "list --usb", 0, "no jobs", {}},
        {{{"missing", {"PDDecodeData"}}}, "pick 1 --usb", 0, "done", {"invokeJobAtIndex"}},
        {json::object(), "list --panel-version 109", 0, "3 jobs", {"PDSendJobData", "PDClose"}},
        {{{"classVersion", 2}}, "pick 1", 1, "failed", {}},
        {{{"scanners", json::array()}}, "end", 1, "failed", {}},
        {{{"scanners", json::array()}}, "end --usb", 1, "failed", {}},
        {{{"jobs", "[1, {"}}, "list", 0, "shows 0 jobs", {"PDSendJobData2", "PDClose"}},
        {{{"cancelJob", false}}, "cancel --usb", 1, "failed", {"cancelJob"}},
        {json::object(), "cancel", 0, "done", {"PDRecvJobData", "PDClose", "cancelJob"}},
        {json::object(), "continue", 0, "done", {"PDRecvJobData", "PDClose", "continueJob"}},
        {{{"buttonManagerScanners", {"PID 0147"}}, {"scanners", json::array()}}, "announce", 0, "served", {}},
        {{{"buttonManagerScanners", {"PID 0147"}}}, "list", 0, "Dummy", {"PDSendJobData2", "PDClose"}},
        {{{"buttonManagerScanners", {"PID 0147"}}}, "scan", 0, "done", {"processEvent"}},
        {{{"buttonManagerScanners", {"PID 0147"}}},
         "pick 1",
         0,
         "done",
         {"PDRecvJobData", "PDClose", "processEvent"}},
    };
    const std::set<std::string> thatMatter{"PDSendJobData",    "PDSendJobData2", "PDRecvJobData",
                                           "PDClose",          "cancelJob",      "continueJob",
                                           "invokeJobAtIndex", "processEvent"};
    for (const auto& [settings, words, exitCode, printed, called] : cases) {
        const std::string what = words + " with " + settings.dump();
        set(settings);
        takeCalls();
        const Played played = panel(words);
        EXPECT_EQ(played.exitCode, exitCode) << what << played.complaint;
        EXPECT_NE(played.printed.find(printed), std::string::npos) << what << played.printed;
        std::set<std::string> found;
        for (const std::string& name : takeCallNames()) {
            if (thatMatter.contains(name)) {
                found.insert(name);
            }
        }
        EXPECT_EQ(found, called) << what;
        if (words.starts_with("list")) { // the user picks from the list that was sent last
            set(json::object());
            panel("list");
        }
    }
}

TEST_F(PanelTest, LearnsTheNameOfADriverFromTheScanSettings) {
    using platform::fourCharCode;
    const std::string settings = paths::scanSettingsApplication() + "/Contents";
    writePropertyList(settings + "/Info.plist", Dictionary{{"CFBundleExecutable", "Settings"}});
    writeFile(settings + "/MacOS/Settings", "#!/bin/sh\n"); // the test answers for it
    std::filesystem::permissions(onDisk(settings + "/MacOS/Settings"), std::filesystem::perms::all);
    platform::BusAppleEvents scanSettings(bus());
    std::vector<Data> asked;
    scanSettings.setEventHandler(fourCharCode("PLsc"), fourCharCode("PSir"),
                                 [&](const platform::AppleEvent& event, platform::AppleEvent& reply) {
                                     asked.push_back(event.parameters.at(0).bytes);
                                     reply.parameters.push_back({fourCharCode("----"),
                                                                 fourCharCode("PSti"),
                                                                 {0, 0, 'G', 'X', '-', '1', 0}});
                                 });
    bus().requestName(platform::bus::signatureName(fourCharCode("UsSe")));
    startAgent();
    const auto announce = [&] {
        auto played = std::async(std::launch::async, [] { return panel("announce --version 1.0"); });
        EXPECT_TRUE(
            waitUntil([&] { return played.wait_for(std::chrono::seconds(0)) == std::future_status::ready; }));
        return played.get().exitCode;
    };
    EXPECT_EQ(announce(), 0) << agentErrors();
    EXPECT_EQ(announce(), 0) << "it is known now";
    EXPECT_EQ(asked, std::vector<Data>{(Data{'P', 'I', 'D', ' ', '0', '1', '4', '7'})});
}

TEST_F(PanelTest, ProtectsListsAsTheApplicationWants) {
    startAgent();
    const std::string digest = "020000008a7f31a7f63558e1ec29f627b549a3bc";
    const struct {
        json settings;
        std::string words;
        std::string header; ///< empty: the password in plain text
    } cases[] = {
        {{{"password", ""}}, "list", std::string(40, '0')},
        {{{"password", "secret"}}, "list", digest},
        {{{"password", "secret"}, {"missing", {"isMD5HashedPasswordRequired"}}}, "list", digest},
        {{{"password", "secret"}, {"isMD5HashedPasswordRequired", false}},
         "list --panel-version 100",
         digest},
        {{{"password", "secret"}, {"isMD5HashedPasswordRequired", false}}, "list", ""},
    };
    for (const auto& [settings, words, header] : cases) {
        set(settings);
        takeCalls();
        EXPECT_EQ(panel(words).exitCode, 0) << words;
        for (const json& call : takeCalls()) {
            if (!call.contains("header")) {
                continue;
            }
            EXPECT_EQ(header.empty() ? "" : call["header"]["bytes"], header) << settings << words;
            EXPECT_EQ(call["header"].contains("password"), header.empty()) << settings << words;
            EXPECT_EQ(call["header"].value("password", "secret"), "secret") << settings << words;
        }
    }
}

TEST_F(PanelTest, BearsManyPanelsAtOnce) {
    startAgent();
    panel("connect --usb");
    panel("list");
    std::vector<std::future<Played>> storms;
    for (const char* words : {"list", "list --usb", "pick 1", "pick 2 --usb", "announce", "end"}) {
        storms.push_back(std::async(std::launch::async, [words] {
            return panel(std::string(words) + " --json --threads 6 --times 5");
        }));
    }
    for (auto& storm : storms) {
        const Played played = storm.get();
        EXPECT_EQ(played.exitCode, 0) << played.complaint;
        EXPECT_EQ(json::parse(played.printed, nullptr, false)["results"].size(), 30U);
    }
    set({{"delays", {{"PDRecvJobData", 1}}}});
    EXPECT_EQ(panel("session").exitCode, 0);
    // Every object of the job interface was given back.
    const auto simulation = tools::PanelSimulation::open(tools::PanelSimulation::Connection::network);
    EXPECT_EQ(simulation->callsSince(0).back()["livingObjects"], 0);
}

TEST_F(PanelTest, ScansToThisComputer) {
    startAgent();
    startAssistant();
    script("confirm 0");
    EXPECT_EQ(panel("scan --model D1 --button 1").exitCode, 0);
    const auto viewed = std::filesystem::path(onDisk("/Applications")).parent_path() / "viewed";
    EXPECT_TRUE(waitUntil([&] { return std::filesystem::exists(viewed); })) << agentErrors();
    EXPECT_TRUE(waitForExit(*assistant));
}

TEST_F(PanelTest, KeepsTheModulesErrorAndTellsItTheComputersName) {
    const std::string settings = "~/Library/Preferences/PELOX/Trigora/Settings/NetWorkScanSetting.plist";
    writePropertyList(settings, Dictionary{{"PCName", "Büro"}});
    startAgent();
    const json name = takeCall("NSMSetPCName");
    EXPECT_EQ(name["name"], "Büro");
    EXPECT_EQ(name["count"], 4);
    EXPECT_EQ(panel("error --text jammed").exitCode, 0);
    EXPECT_EQ(readPropertyList("~/Library/Preferences/PELOX/Trigora/Settings/NetWorkLogInfo.plist"),
              (Dictionary{{"NetWorkLogInfo", "jammed"}}));

    writePropertyList(settings, Dictionary{{"PCName", "Desk"}});
    takeCalls();
    post("NetworkSettingsDidChangeNotification");
    Lines calls;
    json last = json::object();
    EXPECT_TRUE(waitUntil([&] {
        for (const json& call : takeCalls()) {
            calls.push_back(call["call"]);
            last = call;
        }
        return calls.size() >= 3;
    }));
    EXPECT_EQ(calls, (Lines{"NSMStopService", "NSMStartService", "NSMSetPCName"}));
    EXPECT_EQ(last.value("name", ""), "Desk");
}

TEST_F(PanelTest, EndsWhilePanelsAreBeingAnswered) {
    startAgent();
    panel("connect --usb");
    panel("list");
    // The agent's end takes three seconds and a half, then; the USB panel is not answered before that.
    set({{"delays", {{"isReady", 500}, {"cancelJob", 8000}}}});
    takeCallNames(); // of the list, which has a "PDClose" of its own
    auto network = std::async(std::launch::async, [] { return panel("pick 1"); });
    auto usb = std::async(std::launch::async, [] { return panel("cancel --usb"); });
    std::size_t asked = 0;
    EXPECT_TRUE(waitUntil([&] {
        for (const std::string& call : takeCallNames()) {
            asked += call == "PDDecodeData" || call == "PDClose" ? 1U : 0U;
        }
        return asked >= 2;
    }));
    agent->signal(SIGTERM);
    EXPECT_EQ(network.get().exitCode, 0) << "a request on the network is answered before the module stops";
    EXPECT_TRUE(waitForExit(*agent));
    EXPECT_EQ(agent->exitStatus(), 0) << agentErrors();
    EXPECT_EQ(usb.get().exitCode, 3) << "nobody is left to answer";
    Lines ends = takeCallNames();
    std::erase_if(
        ends, [](const std::string& name) { return !name.starts_with("stop") && name != "NSMStopService"; });
    EXPECT_EQ(ends, (Lines{"NSMStopService", "stopNWDeviceObservation"}));
}

TEST_F(PanelTest, NamesTheModuleThatCannotBeLoaded) {
    const std::string module = paths::networkScanModule(paths::agentApplication());
    std::filesystem::remove(onDisk(module + "/Contents/MacOS/NetScanBundle"));
    writeFile(module + "/Contents/MacOS/NetScanBundle", "no library");
    RunningAgentTest::startAgent();
    const std::vector<std::string> words{"status"};
    std::ostringstream status;
    EXPECT_TRUE(waitUntil([&] {
        std::ostringstream errors;
        status.str("");
        tools::runCommandLine(tools::commands(), words, status, errors);
        return status.str().find("not loadable      " + module + "\n") != std::string::npos;
    })) << status.str();
    EXPECT_NE(status.str().find("file too short"), std::string::npos) << status.str();
}

TEST_F(PanelTest, SaysWhatIsMissing) {
    const Played noModule = panel("list");
    EXPECT_EQ(noModule.exitCode, 3);
    EXPECT_NE(noModule.complaint.find("no simulated network panel answers"), std::string::npos);
    EXPECT_EQ(panel("connect --usb").exitCode, 3) << "no agent";
    for (const char* wrong : {"", "dance", "pick", "pick 0", "pick one", "list 2", "announce --usb",
                              "connect", "pick 1 --choices colour=1", "pick 1 --usb --data 00",
                              "list --threads 65", "list --pid 0x1FFFFFFFF"}) {
        EXPECT_EQ(panel(wrong).exitCode, 2) << wrong;
    }
    startAgent();
    const Played noList = panel("pick 1");
    EXPECT_EQ(noList.exitCode, 1);
    EXPECT_NE(noList.complaint.find("the panel shows no job 1"), std::string::npos);
}

} // namespace
} // namespace trigora
