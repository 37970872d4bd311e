// `trigoractl status` with the real agent.

#include "agent/log/PSlog.h"
#include "tests/integration/RunningAgentTest.h"
#include "tools/commands/Commands.h"

#include <csignal>
#include <sstream>

namespace trigora {
namespace {

class StatusTest : public test::RunningAgentTest {
protected:
    Dictionary status(tools::ExitCode expected) {
        std::ostringstream out;
        std::ostringstream err;
        const std::vector<std::string> words{"status", "--json"};
        EXPECT_EQ(tools::runCommandLine(tools::commands(), words, out, err), expected) << err.str();
        const auto value = platform::current().json.read(out.str());
        return value && value->dictionary() ? *value->dictionary() : Dictionary();
    }
};

TEST_F(StatusTest, TellsOfARunningAgentAndOfNone) {
    const std::string root = platform::deletingLastPathComponent(onDisk("/Applications"));
    const Dictionary none = status(tools::unreachable);
    EXPECT_EQ(platform::textAt(none, "root"), root);
    EXPECT_TRUE(platform::textAt(none, "bus"));
    EXPECT_EQ(platform::integerAt(none, "processID"), std::nullopt);

    makeFolder(logSwitchFolder());
    startAgent();
    const Dictionary running = status(tools::done);
    EXPECT_EQ(platform::textAt(running, "root"), root);
    EXPECT_EQ(platform::booleanAt(running, "log"), true);
    EXPECT_EQ(platform::booleanAt(running, "projectIsRunning"), false);
    EXPECT_GT(platform::integerAt(running, "processID").value_or(0), 1);
    EXPECT_GT(platform::integerAt(running, "memory").value_or(0), 1'000'000);
    EXPECT_NE(running.at("uptime"), Value());

    agent->signal(SIGSTOP);
    const Dictionary stopped = status(tools::done);
    EXPECT_EQ(platform::integerAt(stopped, "processID"), platform::integerAt(running, "processID"));
    EXPECT_EQ(stopped.at("uptime"), Value());
    EXPECT_EQ(none.size(), running.size()) << "the keys are always the same";
    EXPECT_EQ(stopped.size(), running.size());
    agent->signal(SIGCONT);
}

} // namespace
} // namespace trigora
