#include "companions/TrigoraButtons/messages/ButtonServiceEvents.h"
#include "platform/linux/bus/AppleEventMessage.h"
#include "tests/tools/SettingsCommandTest.h"
#include "tools/buttons/ButtonDoctor.h"

namespace trigora::tools {
namespace {

Dictionary sensor(const char* name, const char* kind, const Dictionary& buttons = {}) {
    return {{"sensor", name}, {"title", name}, {"kind", kind}, {"buttons", buttons}};
}

/// A scanner that is watched, with one button, and with these keys changed.
Dictionary scanner(const Dictionary& changes = {}) {
    Dictionary made{{"device", "genesys:libusb:001:004"},
                    {"vendor", "V"},
                    {"model", "Flat"},
                    {"driver", "Desk Scanner"},
                    {"modelID", "0F01"},
                    {"node", "/dev/bus/usb/001/004"},
                    {"state", "watched"},
                    {"reason", ""},
                    {"refusal", ""},
                    {"problem", ""},
                    {"sensors", Array{sensor("scan", "button", {{"scan", std::int64_t{1}}}),
                                      sensor("web", "unknown"), sensor("page-loaded", "no button")}},
                    {"flickering", Array()}};
    for (const auto& [key, value] : changes) {
        made[key] = value;
    }
    return made;
}

Dictionary statusWith(const Array& scanners, const Array& problems = {}) {
    return {{"scanners", scanners}, {"problems", problems}, {"isActive", true}};
}

/// The scanner buttons service on the session bus, for as long as it lives.
class ServiceOnTheBus {
public:
    explicit ServiceOnTheBus(const Dictionary& status) : text_(platform::current().json.write(status)) {
        sd_bus* bus = nullptr;
        EXPECT_GE(sd_bus_open_user(&bus), 0);
        bus_.reset(bus);
        EXPECT_GE(sd_bus_add_filter(bus, nullptr, answer, this), 0);
        const std::string name = platform::bus::signatureName(buttons::serviceSignature);
        EXPECT_GE(sd_bus_request_name(bus, name.c_str(), 0), 0);
        thread_ = std::jthread([this](const std::stop_token& stop) {
            constexpr std::uint64_t moment = 10'000;
            while (!stop.stop_requested()) {
                if (presses_.exchange(0) > 0) {
                    sd_bus_emit_signal(bus_.get(), platform::bus::notificationsPath,
                                       platform::bus::notificationsInterface, platform::bus::postedSignal,
                                       "sba{sv}", "ScannerButtonPressedNotification", 1, 3, "Driver", "s",
                                       "Desk Scanner", "Sensor", "s", "scan", "Button", "x", std::int64_t{1});
                }
                if (sd_bus_process(bus_.get(), nullptr) == 0) {
                    sd_bus_wait(bus_.get(), moment);
                }
            }
        });
    }

private:
    static int answer(sd_bus_message* message, void* service, sd_bus_error*) {
        auto* self = static_cast<ServiceOnTheBus*>(service);
        if (sd_bus_message_is_method_call(message, platform::bus::appleEventsInterface, "Send") == 0) {
            return 0;
        }
        sd_bus_message* made = nullptr;
        sd_bus_message_new_method_return(message, &made);
        const platform::BusMessagePointer reply(made);
        const platform::AppleEventParameter status{platform::keyDirectObject, platform::typeUTF8Text,
                                                   Data(self->text_.begin(), self->text_.end())};
        platform::bus::appendParameters(made, {status});
        sd_bus_send(self->bus_.get(), made, nullptr);
        ++self->presses_; // whoever has asked hears one
        return 1;
    }

    const std::string text_;
    std::atomic<int> presses_ = 0;
    platform::BusPointer bus_;
    std::jthread thread_;
};

class CommandButtonsTest : public SettingsCommandTest {
protected:
    void SetUp() override {
        SettingsCommandTest::SetUp();
        installApplication("/Applications/Gone.app"); // that the projects' action opens
        writeProgram(paths::scanAssistantExecutable());
    }
};

TEST_F(CommandButtonsTest, ShowsWhatEachButtonWouldRun) {
    const ServiceOnTheBus service(statusWith({scanner(), scanner({{"driver", "Other"},
                                                                  {"device", "test:0"},
                                                                  {"reason", "it has no\nsensor"},
                                                                  {"sensors", Array()},
                                                                  {"state", "not watched"}})}));
    const Outcome outcome = run({"buttons"});
    EXPECT_EQ(outcome.code, done);
    EXPECT_EQ(outcome.out, "Desk Scanner (genesys:libusb:001:004): watched\n"
                           "SENSOR  BUTTON  EVENT  PROJECT\n"
                           "scan    1       101    340 Copy\n"
                           "web     -       -      (not known as a button)\n"
                           "\n"
                           "Other (test:0): not watched, it has no?sensor\n"
                           "\n");
    const Dictionary answer = json({"buttons"});
    EXPECT_EQ(platform::booleanAt(answer, "isServiceRunning"), true);
    EXPECT_NE(Value(answer).description().find("project = 340"), std::string::npos)
        << Value(answer).description();
}

TEST_F(CommandButtonsTest, ShowsPressesAsTheyCome) {
    const ServiceOnTheBus service(statusWith({scanner()}));
    const Outcome outcome = run({"buttons", "--live", "--timeout", "1"});
    EXPECT_EQ(outcome.code, done) << outcome.err;
    EXPECT_EQ(outcome.out, "Desk Scanner: scan (button 1)\n");
    EXPECT_EQ(run({"buttons", "--live", "--doctor"}).code, wrongUsage);
}

TEST_F(CommandButtonsTest, SaysWhenThereIsNobodyToAsk) {
    EXPECT_EQ(run({"buttons", "--live"}).code, unreachable);
    const Outcome listed = run({"buttons"});
    EXPECT_EQ(listed.code, failed);
    EXPECT_NE(listed.err.find("cannot be started"), std::string::npos) << listed.err;
}

TEST_F(CommandButtonsTest, ExplainsThePressOfASensorByItsName) {
    EXPECT_EQ(run({"explain", "press", "--driver", "Desk Scanner", "--button", "scan"}).code, notFound);
    {
        const ServiceOnTheBus service(statusWith({scanner()}));
        EXPECT_EQ(platform::textAt(json({"explain", "press", "--driver", "Desk Scanner", "--button", "scan"}),
                                   "event"),
                  "101");
    }
    writeFile(paths::scannerButtonsFile(), "[genesys]\nweb=level 2\n[avision]\nmessage=text copy:1\n");
    const std::pair<const char*, const char*> entries[] = {{"genesys:x", "web"},
                                                           {"avision:y", "message copy"}};
    for (const auto& [device, name] : entries) {
        writeFile(paths::userScannerDriversFile(),
                  std::string("[Desk Scanner]\nDevice=") + device + "\nModelID=0F01\n");
        EXPECT_EQ(platform::textAt(json({"explain", "press", "--driver", "Desk Scanner", "--button", name}),
                                   "event"),
                  std::string(name) == "web" ? "102" : "101")
            << "known by its back-end though it is not attached";
    }
}

TEST(ButtonDoctor, TellsWhatStandsInTheWayAndWhatToDo) {
    struct Case {
        const char* what;
        ButtonSight sight;
        std::vector<std::string> daemons;
        std::vector<std::string> users;
        const char* problem;
        const char* remedy;
    };
    const auto watched = [](const Dictionary& changes) {
        return ButtonSight{true, statusWith({scanner(changes)}), ""};
    };
    Dictionary away = statusWith({scanner()});
    away["isActive"] = false;
    const Case cases[] = {
        {"all is well", watched({}), {}, {}, "", ""},
        {"no service",
         {false, statusWith({scanner()}), ""},
         {},
         {},
         "service is not running",
         "systemctl --user"},
        {"no SANE", {false, {}, "it cannot be started"}, {}, {}, "it cannot be started", "libsane1"},
        {"no scanner", {true, statusWith({}), ""}, {}, {}, "finds no scanner", "scanimage -L"},
        {"a wrong line", {true, statusWith({scanner()}, {"line X"}), ""}, {}, {}, "line X", ""},
        {"another user", {true, away, ""}, {}, {}, "another user", "your session"},
        {"another daemon", watched({}), {"scanbd"}, {}, "scanbd is running", "disable --now scanbd"},
        {"no permission", watched({{"refusal", "denied"}}), {}, {}, "(the rights)", "usermod -aG scanner"},
        {"held by a program", watched({}), {}, {"xsane (12)"}, "xsane (12)", "close that program"},
        {"held by another user", watched({{"refusal", "busy"}}), {}, {}, "another program", "another user"},
        {"a back-end that fails",
         watched({{"refusal", "failed"}, {"problem", "it hangs"}}),
         {},
         {},
         "it hangs",
         "off and on"},
        {"an unknown sensor",
         watched({{"state", "not watched"}, {"reason", "no button"}}),
         {},
         {},
         "no button",
         "\"web\" may be a button: a line in TABLE"},
        {"no sensor",
         watched({{"state", "not watched"}, {"reason", "no button"}, {"sensors", Array()}}),
         {},
         {},
         "no button",
         "trigoractl press"},
        {"a flicker",
         watched({{"flickering", Array{"scan"}}}),
         {},
         {},
         "\"scan\" is pressed again",
         "sticks"},
    };
    for (const Case& c : cases) {
        const std::vector<ButtonFinding> findings =
            findButtonProblems(c.sight, {.isAgentRunning = true,
                                         .otherDaemons = c.daemons,
                                         .usersOfNode = [&](const std::string&) { return c.users; },
                                         .rightsOfNode = [](const std::string&) { return "the rights"; },
                                         .userTableFile = "TABLE"});
        ASSERT_EQ(findings.empty(), *c.problem == '\0') << c.what;
        if (!findings.empty()) {
            EXPECT_NE(findings[0].problem.find(c.problem), std::string::npos)
                << c.what << findings[0].problem;
            EXPECT_NE(findings[0].remedy.find(c.remedy), std::string::npos) << c.what << findings[0].remedy;
        }
    }
}

} // namespace
} // namespace trigora::tools
