#include "tests/integration/RunningAgentTest.h"

#include <algorithm>
#include <csignal>

namespace trigora {
namespace {

using test::Child;
using test::Lines;
using test::scanEventBytes;

class AgentTest : public test::RunningAgentTest {
protected:
    /// Listeners are told that the press has been dealt with.
    void expectEnd() {
        EXPECT_TRUE(waitUntil([this] {
            const Lines heard = takeHeard();
            return std::find(heard.begin(), heard.end(), "ScanEventDidFinishNotification") != heard.end();
        }));
    }

    /// A press that fails ends once and has the assistant asked to quit.
    void expectPressFails(const char* what, const Data& record) {
        startAssistant();
        script("confirm 0");
        takeHeard();
        EXPECT_TRUE(sendRecord(record)) << what;
        EXPECT_TRUE(waitForExit(*assistant)) << what;
        Lines heard;
        waitUntil([&] {
            const Lines more = takeHeard();
            heard.insert(heard.end(), more.begin(), more.end());
            return heard.size() >= 2;
        });
        EXPECT_EQ(heard, (Lines{"ReplyScannerConfirmationDistributedNotification",
                                "ScanEventDidFinishNotification"}))
            << what;
    }
};

TEST_F(AgentTest, RunsTheBoundProject) {
    startAgent();
    expectBoundPressWorks();
    // The assistant that the agent launches by itself works as well.
    assistant.reset();
    script("confirm 0");
    takeHeard();
    EXPECT_TRUE(sendRecord(scanEventBytes("XY-1", "D1", 1)));
    EXPECT_TRUE(waitUntil([this] { return takeHeard() == Lines{"ScanEventDidFinishNotification"}; }));
}

TEST_F(AgentTest, WorksOnAfterEveryFailedPress) {
    installEvent("102", "000");
    installEvent("105", "777");
    startAgent();
    for (const auto& [what, button] :
         {std::pair{"nothing bound", 2U}, std::pair{"refused", 3U}, std::pair{"no such project", 5U}}) {
        expectPressFails(what, scanEventBytes("XY-1", "D1", button));
    }
    expectBoundPressWorks();
}

TEST_F(AgentTest, WorksOnAfterGarbage) {
    startAgent();
    sendRecord({});
    sendRecord(Data(75, 0xFF));
    expectPressFails("every bit set", Data(76, 0xFF));
    expectPressFails("far too long", Data(5U << 20, 0xFF));
    expectBoundPressWorks();
}

TEST_F(AgentTest, WorksOnAfterTheAssistantDied) {
    startAgent();
    startAssistant();
    script("die"); // when the press is put to it, and when the press is repeated
    EXPECT_TRUE(sendRecord(scanEventBytes("XY-1", "D1", 1)));
    EXPECT_TRUE(waitForExit(*assistant));
    EXPECT_EQ(assistant->exitStatus(), 9);
    expectEnd();
    expectBoundPressWorks();
}

TEST_F(AgentTest, WorksOnAfterTheAssistantDiedInTheMiddle) {
    startAgent();
    startAssistant();
    script("once 0");
    EXPECT_TRUE(sendRecord(scanEventBytes("XY-1", "D1", 1)));
    EXPECT_TRUE(waitForExit(*assistant));
    expectEnd();
    expectBoundPressWorks();
}

TEST_F(AgentTest, IsTheOnlyOne) {
    startAgent();
    const auto second = launchAgent();
    EXPECT_TRUE(waitForExit(*second));
    EXPECT_EQ(second->exitStatus(), EXIT_FAILURE);
    EXPECT_NE(agentErrors().find("already running"), std::string::npos) << agentErrors();
    EXPECT_EQ(agent->exitStatus(), -1);
    expectBoundPressWorks();
}

TEST_F(AgentTest, EndsInOrder) {
    for (const int signal : {SIGTERM, SIGINT}) {
        startAgent();
        agent->signal(signal);
        EXPECT_TRUE(waitForExit(*agent));
        EXPECT_EQ(agent->exitStatus(), EXIT_SUCCESS) << agentErrors();
    }
    startAgent();
    privateBus.end();
    EXPECT_TRUE(waitForExit(*agent));
    EXPECT_EQ(agent->exitStatus(), EXIT_SUCCESS) << agentErrors();
    const auto withoutBus = launchAgent();
    EXPECT_TRUE(waitForExit(*withoutBus));
    EXPECT_EQ(withoutBus->exitStatus(), EXIT_FAILURE);
    EXPECT_NE(agentErrors(), "");
}

TEST_F(AgentTest, EndsInOrderWhileItWaitsForAnAssistantThatDoesNotQuit) {
    for (const bool isSignalled : {true, false}) {
        startAgent();
        startAssistant();
        assistant->signal(SIGSTOP);
        post("DidGetDriverNameWithIPAddressDistributedNotification"); // whose handler waits for its end
        const auto waits = std::chrono::steady_clock::now() + std::chrono::milliseconds(400);
        waitUntil([&] { return std::chrono::steady_clock::now() > waits; });
        isSignalled ? agent->signal(SIGTERM) : privateBus.end();
        EXPECT_TRUE(waitForExit(*agent));
        EXPECT_EQ(agent->exitStatus(), EXIT_SUCCESS) << agentErrors();
        assistant.reset();
    }
}

TEST_F(AgentTest, UnderstandsItsOptions) {
    const std::pair<std::vector<std::string>, int> cases[] = {
        {{"--help"}, EXIT_SUCCESS},
        {{"--version"}, EXIT_SUCCESS},
        {{"--root"}, 2},
        {{"--root="}, 2},
        {{"--unknown"}, 2},
        {{"operand"}, 2},
    };
    for (const auto& [arguments, expected] : cases) {
        const auto child = launchAgent(arguments);
        EXPECT_TRUE(waitForExit(*child)) << arguments[0];
        EXPECT_EQ(child->exitStatus(), expected) << arguments[0] << agentErrors();
    }
}

} // namespace
} // namespace trigora
