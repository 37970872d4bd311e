#include "tests/tools/SettingsCommandTest.h"

namespace trigora::tools {
namespace {

class TestScanTest : public SettingsCommandTest {
protected:
    void SetUp() override {
        SettingsCommandTest::SetUp();
        agent.emplace();
        notifications.onPost("TestScannningWillStartNotification",
                             [this](const platform::Notification& post) {
                                 test = post.userInfo.value_or(Dictionary());
                                 if (result) {
                                     notifications.receive("DidFinishScanDistributedNotification", result);
                                 }
                                 if (agentEnds) {
                                     notifications.receive("ScanEventDidFinishNotification");
                                 }
                             });
        writeFile(paths::scanAssistantExecutable(), "");
        notifications.onPost("ReplyScannerConfirmationDistributedNotification", [this](const auto&) {
            notifications.receive("DidFinishScannerConfirmationDistributedNotification", confirmation);
        });
    }

    std::optional<AgentOnTheBus> agent; ///< what it does is played here
    std::optional<Dictionary> result = Dictionary{{"ScanResult", Array{"/s/img001.pdf", "/s/img002.pdf"}}};
    bool agentEnds = true;
    Dictionary confirmation;
    Dictionary test; ///< what the agent was told
    const Words words{"test-scan", "610", "--driver", "Desk Scanner"};
    const Words wordsWithModel{"test-scan", "610", "--driver", "Desk Scanner", "--model-id", "0f02"};
};

TEST_F(TestScanTest, TellsTheAgentTheProjectAndTheUserThePages) {
    const Outcome outcome = run(wordsWithModel);
    EXPECT_EQ(outcome.code, done) << outcome.err;
    EXPECT_EQ(outcome.out, "Project 610 (PDF) scanned:\n  /s/img001.pdf\n  /s/img002.pdf\n");
    EXPECT_EQ(platform::dictionaryAt(test, "TestScanDriverInfo"),
              (Dictionary{{"DriverInfoDrivername", "Desk Scanner"}, {"DriverInfoMakerName", "PELOX"}}));
    EXPECT_EQ(platform::dictionaryAt(test, "TestScanDeviceInfo"), (Dictionary{{"DeviceInfoModelID", 0xF02}}));
    EXPECT_EQ(platform::textAt(test, "TestScanProjectFilePath"),
              paths::predefinedProjectFolder() + "/PDF.plg");
    EXPECT_EQ(platform::textAt(test, "TestScanEventID"), "100");
    const auto scanSettings = platform::dictionaryAt(test, "TestScanScanSettings").value_or(Dictionary());
    EXPECT_EQ(platform::integerAt(scanSettings, "resolution"), 200);

    EXPECT_EQ(platform::arrayAt(json(wordsWithModel), "files"), (Array{"/s/img001.pdf", "/s/img002.pdf"}));
}

TEST_F(TestScanTest, AsksTheScanAssistantWhatItIsNotTold) {
    const Dictionary device{{"DeviceInfoModelID", 0xF01}, {"DeviceInfoEnableADF", true}};
    confirmation = {{"ScannerConfirmResult", 0}, {"UpdatedDeviceInfo", Dictionary{{"Desk Scanner", device}}}};
    EXPECT_EQ(run(words).code, done);
    EXPECT_EQ(platform::dictionaryAt(test, "TestScanDeviceInfo"), device);

    test.clear();
    confirmation = {{"ScannerConfirmResult", -1}};
    const Outcome missing = run(words);
    EXPECT_EQ(missing.code, notFound);
    EXPECT_NE(missing.err.find("finds no scanner of the driver Desk Scanner"), std::string::npos)
        << missing.err;
    EXPECT_EQ(test, Dictionary());
}

TEST_F(TestScanTest, SaysHowItFailed) {
    const auto expect = [this](const Words& line, ExitCode code, const std::string& sentence) {
        const Outcome outcome = run(line);
        EXPECT_EQ(outcome.code, code) << sentence;
        EXPECT_NE(outcome.err.find(sentence), std::string::npos) << outcome.err;
        EXPECT_EQ(outcome.out, "");
    };
    result = Dictionary{{"ScanResult", Array{"Scan is not succeed!"}}};
    expect(wordsWithModel, failed, "the scan failed");
    result = Dictionary{};
    expect(wordsWithModel, failed, "the scan failed");
    result.reset();
    expect(wordsWithModel, failed, "without a scan");
    agentEnds = false;
    expect(wordsWithModel, failed, "did not end within 300 seconds");
    test.clear();
    expect({"test-scan", "340", "--driver", "D", "--model-id", "0F02"}, notFound, "is not available");
    expect({"test-scan", "611", "--driver", "D", "--model-id", "0F02"}, notFound, "no project 611");
    expect({"test-scan", "--driver", "D"}, wrongUsage, "PROJECT is missing");
    expect({"test-scan", "000", "--driver", "D", "--model-id", "0F02"}, notFound, "does nothing at all");
    expect({"test-scan", "610", "--driver", "D", "--event", "abc"}, notFound, "there is no event abc");
    agent.reset();
    expect(wordsWithModel, unreachable, "the agent is not running");
    EXPECT_EQ(test, Dictionary());
}

} // namespace
} // namespace trigora::tools
