#pragma once

#include "platform/linux/bus/BusConnection.h"
#include "platform/linux/bus/BusNotifications.h"
#include "platform/linux/loop/LinuxRunLoop.h"
#include "tests/agent/InstalledScannerTest.h"
#include "tests/fakes/PrivateBus.h"

#include <chrono>
#include <functional>
#include <memory>

namespace trigora::test {

/// A program started by a test; it is killed and waited for at the end, should it still run. What a sanitizer
/// has found in it until then fails the test.
class Child {
public:
    /// Standard error goes to the file, which is the child's own.
    Child(const std::string& program, const std::vector<std::string>& arguments,
          const std::string& errorFile);
    ~Child();
    Child(const Child&) = delete;
    Child& operator=(const Child&) = delete;

    void signal(int number) const;
    /// The exit status, or -1 while it runs; 128 and the signal's number when one has ended it.
    int exitStatus();

private:
    std::string errorFile_;
    int processID_ = 0;
    int status_ = -1;
};

/// The real agent in a root and a home of its own on a private session bus, with a scripted scan assistant.
/// The test itself takes part in the bus and hears what is posted.
class RunningAgentTest : public InstalledScannerTest {
protected:
    RunningAgentTest();
    ~RunningAgentTest() override;

    std::unique_ptr<Child> launchAgent(const std::vector<std::string>& arguments = {});
    /// What the agent started last has written to its standard error.
    std::string agentErrors() { return readFile("~/agent" + std::to_string(agentsLaunched_) + ".err"); }
    /// Starts the agent and waits until it can be spoken to.
    void startAgent();
    /// Starts a scan assistant and waits until it listens.
    void startAssistant();
    /// What the assistant does when it is next asked to confirm a scanner.
    void script(const std::string& line) { writeFile(root_ + "/assistant.script", line); }

    /// Sends the record as a scanner driver would; true when the agent has handled it.
    bool sendRecord(const Data& record);
    /// A press of the bound button goes all the way: the viewer is given the scanned file.
    void expectBoundPressWorks();

    /// The test's own place on the bus.
    platform::BusConnection& bus() { return *connection_; }
    /// Posts as another program would.
    void post(const std::string& name) { busNotifications_->post(name, std::nullopt, true); }
    /// Takes part in the bus until the condition holds; false when that takes more than ten seconds.
    bool waitUntil(const std::function<bool()>& condition);
    /// The names of the notifications heard since the last call.
    Lines takeHeard() { return std::exchange(heard_, {}); }
    bool waitForExit(Child& child) {
        return waitUntil([&] { return child.exitStatus() >= 0; });
    }

    PrivateBus privateBus;
    std::unique_ptr<Child> agent;
    std::unique_ptr<Child> assistant;

private:
    void installPrograms();
    void hear(const std::string& name);
    bool isOnBus(const std::string& name);

    std::string root_;
    int agentsLaunched_ = 0;
    platform::LinuxRunLoop busLoop_;
    std::unique_ptr<platform::BusConnection> connection_;
    std::unique_ptr<platform::BusNotifications> busNotifications_;
    Lines heard_;
};

} // namespace trigora::test
