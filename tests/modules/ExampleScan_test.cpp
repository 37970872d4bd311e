#include "modules/network_scan.h"

#include <gtest/gtest.h>

#include <chrono>
#include <dlfcn.h>
#include <future>
#include <optional>
#include <string>

namespace {

/// Answers the module as the agent does.
struct FakeAgent {
    std::int32_t answer = NSM_SCANNER_SERVED;
    std::promise<std::string> announced;
    std::promise<std::string> asked;
    std::shared_future<void> answers; ///< an announcement is answered once this is ready
    bool isAsked = false;
};

std::string textAt(address32 address) { return static_cast<const char*>(trigora_pointer(address)); }

std::int32_t discover(const _NSMDiscovery* discovery, void* context) {
    auto& agent = *static_cast<FakeAgent*>(context);
    agent.announced.set_value(textAt(discovery->productID) + "|" + textAt(discovery->versionInformation) +
                              "|" + textAt(discovery->ipAddress));
    if (agent.answers.valid()) {
        agent.answers.wait();
    }
    return agent.answer;
}

std::int32_t handle(_NSMEvent*, std::int32_t kind, void* data, std::int32_t, void* context) {
    const auto& record = *static_cast<_PSMLPANELSCANJOBINFO*>(data);
    auto& agent = *static_cast<FakeAgent*>(context);
    agent.isAsked = true;
    agent.asked.set_value(std::to_string(kind) + "|" + record.productID + "|" + record.ipAddress + "|" +
                          std::string(record.hardwareAddress, sizeof record.hardwareAddress));
    return PANEL_RESULT_DONE;
}

class ExampleScanTest : public ::testing::Test {
protected:
    template <typename Function> Function* function(const char* name) {
        return reinterpret_cast<Function*>(dlsym(module_, name));
    }
    void start(FakeAgent& agent) {
        auto* startService = function<NSMStartServiceFunction>("NSMStartService");
        ASSERT_NE(startService, nullptr);
        ASSERT_EQ(startService(&discover, &handle, nullptr, &agent, &agent, nullptr), 1);
    }
    std::int32_t stop() { return function<NSMStopServiceFunction>("NSMStopService")(); }

    void* module_ = dlopen(EXAMPLE_MODULE, RTLD_NOW | RTLD_LOCAL);
};

TEST_F(ExampleScanTest, AnnouncesItsScannerAndAsksForJobs) {
    FakeAgent agent;
    start(agent);
    EXPECT_EQ(agent.announced.get_future().get(), "PID 0147|Ver 1.10|192.168.0.20");
    EXPECT_EQ(agent.asked.get_future().get(), "5|PID 0147|192.168.0.20|00265A0B1C2D");
    EXPECT_EQ(stop(), 1);
}

TEST_F(ExampleScanTest, StopsAndStartsAgain) {
    for (int turn = 0; turn < 3; ++turn) {
        FakeAgent agent;
        agent.answer = NSM_SCANNER_NOT_SERVED;
        start(agent);
        agent.announced.get_future().get();
        EXPECT_EQ(stop(), 1);
        EXPECT_FALSE(agent.isAsked) << "nobody serves the scanner";
    }
    EXPECT_EQ(stop(), 1) << "stopped already";
}

TEST_F(ExampleScanTest, StopsWhenItsCallBackHasReturned) {
    FakeAgent agent;
    std::promise<void> answer;
    agent.answers = answer.get_future();
    start(agent);
    agent.announced.get_future().wait();
    auto stopped = std::async(std::launch::async, [this] { return stop(); });
    EXPECT_EQ(stopped.wait_for(std::chrono::milliseconds(50)), std::future_status::timeout);
    answer.set_value();
    EXPECT_EQ(stopped.get(), 1);
}

} // namespace
