#include "tools/bus/SessionBus.h"

#include "agent/event/StatusRequest.h"
#include "platform/linux/bus/AppleEventMessage.h"
#include "platform/linux/bus/BusAccess.h"
#include "platform/linux/bus/BusNames.h"
#include "tests/fakes/PrivateBus.h"
#include "tests/platform/BusParty.h"

#include <thread>

namespace trigora::tools {
namespace {

namespace bus = platform::bus;

/// An agent on a bus that answers every event with a text behind `parameters` well-formed parameters, or with
/// nothing but these.
class TalkativeAgent {
public:
    TalkativeAgent(int parameters, bool addsText) : parameters_(parameters), addsText_(addsText) {
        std::string error;
        bus_ = bus::connectToSession(error);
        EXPECT_TRUE(bus_) << error;
        sd_bus_add_filter(bus_.get(), nullptr, answer, this);
        EXPECT_GE(sd_bus_request_name(bus_.get(), bus::agentName, 0), 0);
        EXPECT_GE(sd_bus_request_name(bus_.get(), bus::signatureName(signature).c_str(), 0), 0);
        thread_ = std::jthread([this](const std::stop_token& stop) {
            constexpr std::uint64_t moment = 10'000;
            while (!stop.stop_requested()) {
                if (sd_bus_process(bus_.get(), nullptr) == 0) {
                    sd_bus_wait(bus_.get(), moment);
                }
            }
        });
    }

    static constexpr std::uint32_t signature = platform::fourCharCode("TrgA");

private:
    static int answer(sd_bus_message* message, void* agent, sd_bus_error*) {
        const auto& self = *static_cast<TalkativeAgent*>(agent);
        if (sd_bus_message_is_method_call(message, bus::appleEventsInterface, bus::sendMethod) <= 0) {
            return 0;
        }
        sd_bus_message* made = nullptr;
        EXPECT_GE(sd_bus_message_new_method_return(message, &made), 0);
        const platform::BusMessagePointer reply(made);
        const std::vector<platform::AppleEventParameter> parameters(
            static_cast<std::size_t>(self.parameters_), {platform::keyDirectObject, 0, Data{1}});
        EXPECT_GE(bus::appendParameters(made, parameters), 0);
        if (self.addsText_) {
            EXPECT_GE(sd_bus_message_append(made, "s", "more"), 0);
        }
        return sd_bus_send(nullptr, made, nullptr);
    }

    int parameters_;
    bool addsText_;
    platform::BusPointer bus_;
    std::jthread thread_;
};

// What trigoractl says and what the programs of the system say.

TEST(SessionBusTest, AnAnswerIsTakenWholeOrNotAtAll) {
    const test::PrivateBus daemon;
    const platform::AppleEvent request{platform::productEventClass, statusEventID, {}};
    for (const bool isWhole : {true, false}) {
        const TalkativeAgent agent(2, !isWhole);
        test::BusParty program;
        std::string error;
        const auto tool = SessionBus::open(error);
        ASSERT_TRUE(tool) << error;
        const auto answer = tool->askAgent(request, 5, error);
        EXPECT_EQ(answer.has_value(), isWhole);
        EXPECT_EQ(answer ? answer->parameters.size() : 0, isWhole ? 2U : 0U);
        EXPECT_EQ(error, isWhole ? "" : unreadableAnswer);
        const auto reply = program.events->sendWaitingForReply(
            platform::SignatureTarget{TalkativeAgent::signature}, request);
        EXPECT_EQ(reply.status, isWhole ? 0 : platform::errAECoercionFail);
        EXPECT_EQ(reply.event.parameters.size(), isWhole ? 2U : 0U);
    }
}

TEST(SessionBusTest, WithoutABusThereIsOneSentence) {
    const test::PrivateBus daemon; // puts the environment back afterwards
    platform::LinuxRunLoop loop;
    for (const char* address : {"", "nonsense", "unix:path=/nowhere/at/all"}) {
        setenv("DBUS_SESSION_BUS_ADDRESS", address, 1);
        setenv("XDG_RUNTIME_DIR", "", 1);
        std::string ofTheSystem;
        std::string ofTheTool;
        EXPECT_EQ(platform::BusConnection::open(loop, ofTheSystem), nullptr);
        EXPECT_FALSE(SessionBus::open(ofTheTool));
        EXPECT_EQ(ofTheTool, ofTheSystem);
        EXPECT_NE(ofTheTool.find(*address == 0 ? "there is no session bus" : address), std::string::npos)
            << ofTheTool;
    }
}

} // namespace
} // namespace trigora::tools
