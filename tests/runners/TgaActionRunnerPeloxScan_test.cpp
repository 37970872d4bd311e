#include "runners/actions/TgaActionRunnerPeloxScan.h"

#include "tests/runners/RunnerTest.h"

namespace trigora {
namespace {

class PeloxScan : public test::RunnerTest {
protected:
    test::Lines perform(const std::optional<std::string>& projectID,
                        const std::optional<std::string>& driverVersion) {
        processes.exit("PScanAssistant");
        runner.setProjectID(projectID);
        runner.setDriverVersion(driverVersion);
        EXPECT_EQ(runner.performAction(), 0);
        return journal.take();
    }
    static std::string settingsPost(const platform::Dictionary& settings) {
        return "post! ReplyLaunchPlScanDistributedNotification " +
               platform::Value(platform::Dictionary{{"PlScanSettings", settings}}).description();
    }

    const std::string alert = "alert Message.Title | MSG.LowVersionDriver.Error | Message.Button.OK";
    TgaActionRunnerPeloxScan runner;
};

TEST_F(PeloxScan, HandsOverTheSettingsUnlessTheDriverIsTooOldForTheNetworkProject) {
    using platform::Dictionary;
    runner.setScanAssistantData(Dictionary{{"driverName", "D1"}, {"prefix", "scan"}, {"startNumber", 5}});
    const Dictionary plain{{"driverName", "D1"}, {"prefix", "img"}, {"startNumber", "001"}};
    const auto with = [&](const char* projectID) {
        Dictionary settings = plain;
        settings["projectID"] = projectID;
        return settings;
    };
    struct Case {
        std::optional<std::string> projectID, version;
        std::optional<Dictionary> settings; // none: the alert
    };
    const std::vector<Case> cases{
        {"520", "2.6", {}},          {"520", "2.69", {}},          {"520", {}, {}},
        {"520", "2.7", with("520")}, {"520", "10.1", with("520")}, {"110", "2.69", with("110")},
        {"110", "1.0", plain},       {"110", "2.6899999", plain},  {{}, "3.0", plain},
    };
    for (const Case& c : cases) {
        const test::Lines expected = c.settings ? test::Lines{launchAssistant, settingsPost(*c.settings)}
                                                : test::Lines{alert, launchAssistant};
        EXPECT_EQ(perform(c.projectID, c.version), expected)
            << c.projectID.value_or("none") << " " << c.version.value_or("none");
    }
}

TEST_F(PeloxScan, ConfirmsTheScannerAfterTheAlertWhenItCan) {
    runner.setDriverName("D1");
    EXPECT_EQ(perform("520", "2.6"), (test::Lines{alert, launchAssistant})) << "no address";
    runner.setIPAddress("10.0.0.9");
    EXPECT_EQ(perform("520", "2.6"), (test::Lines{alert, launchAssistant, confirmation}));
    processes.launches = false;
    EXPECT_EQ(perform("520", "2.6"), (test::Lines{alert, launchAssistant})) << "no assistant";
    alertPanel.answer = platform::AlertAnswer::closed;
    EXPECT_EQ(perform("520", "2.6"), test::Lines{alert}) << "closed";
}

TEST_F(PeloxScan, PostsWithoutSettingsAndWithoutAnAssistant) {
    processes.launches = false;
    EXPECT_EQ(perform("110", "3.0"),
              (test::Lines{launchAssistant, "post! ReplyLaunchPlScanDistributedNotification"}));
}

} // namespace
} // namespace trigora
