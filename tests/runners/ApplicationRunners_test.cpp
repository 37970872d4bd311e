// The runners that start an application for a scanner: the page manager's, the copy and the photo runner.

#include "runners/actions/LaunchRecord.h"
#include "runners/actions/TgaActionRunnerCopy.h"
#include "runners/actions/TgaActionRunnerEPS.h"
#include "runners/actions/TgaActionRunnerPageManager.h"
#include "tests/runners/RunnerTest.h"

namespace trigora {
namespace {

using platform::Dictionary;
using test::Lines;

class ApplicationRunners : public test::RunnerTest {
protected:
    ApplicationRunners() { makeFolder(assistant); }

    void installApplication(const std::string& path, const Dictionary& info) {
        Dictionary all = info;
        all["CFBundleExecutable"] = "Program";
        writePropertyList(path + "/Contents/Info.plist", all);
        writeFile(path + "/Contents/MacOS/Program", "");
    }
    void failSending(std::int32_t status) {
        appleEvents.answer = [status](const auto&, const auto&) {
            return platform::AppleEventReply{status, {}};
        };
    }

    const std::string assistant = "/Applications/Next.app";
    const Dictionary data{{"NextAssistantPath", assistant}, {"driverName", "D1"}, {"EventID", "105"}};
    const std::string launchNext = "launch application " + assistant;
    const std::string sendName = "send PLuc/OPtw to process 77 ----:****:" + hexadecimal("D1");
};

TEST_F(ApplicationRunners, PageManagerSendsTheRecordToWhatItLaunched) {
    TgaActionRunnerPageManager runner;
    runner.setScanAssistantData(data);
    const Data record = bytesOf(launchRecord(data));
    const std::string sendRecord =
        "send appl/unon to process 77 ----:****:" + hexadecimal(std::string(record.begin(), record.end()));

    EXPECT_EQ(runner.performAction(), 0);
    EXPECT_EQ(journal.take(), (Lines{launchNext, sendRecord}));

    runner.setDriverName("D1");
    runner.setIPAddress("10.0.0.9");
    EXPECT_EQ(runner.performAction(), 0);
    EXPECT_EQ(journal.take(), (Lines{launchNext, launchAssistant, confirmation, sendRecord}));

    failSending(platform::procNotFound);
    EXPECT_EQ(runner.performAction(), platform::procNotFound);
}

TEST_F(ApplicationRunners, StopAtALaunchThatFails) {
    TgaActionRunnerPageManager pageManager;
    TgaActionRunnerCopy copy;
    EXPECT_EQ(pageManager.performAction(), -43) << "no data";
    EXPECT_EQ(copy.performAction(), -43) << "no data";
    pageManager.setScanAssistantData(Dictionary{{"NextAssistantPath", "/Applications/Gone.app"}});
    EXPECT_EQ(pageManager.performAction(), -1);
    EXPECT_EQ(journal.take(), Lines{});

    workspace.launch = {-10810, 0};
    pageManager.setScanAssistantData(data);
    copy.setScanAssistantData(data);
    EXPECT_EQ(pageManager.performAction(), -10810);
    EXPECT_EQ(copy.performAction(), -10810);
    EXPECT_EQ(journal.take(), (Lines{launchNext, launchNext}));
}

TEST_F(ApplicationRunners, CopyChoosesByTheVersionOfTheCopyApplication) {
    TgaActionRunnerCopy runner;
    runner.setScanAssistantData(data);
    const std::string program = paths::copyApplication() + "/Contents/MacOS/Program";
    const Lines withArguments{"launch " + program + " --twainname D1"};
    const Lines withEvents{launchNext, sendName};

    EXPECT_EQ(runner.performAction(), 0);
    EXPECT_EQ(journal.take(), withEvents) << "not installed";
    struct Case {
        Value version;
        const Lines& expected;
    };
    for (const Case& c : {Case{"4.0.1", withArguments}, Case{"10", withArguments}, Case{"3.9", withEvents},
                          Case{"", withEvents}, Case{4, withEvents}}) {
        installApplication(paths::copyApplication(), {{"CFBundleShortVersionString", c.version}});
        EXPECT_EQ(runner.performAction(), 0);
        EXPECT_EQ(journal.take(), c.expected) << c.version.description();
    }
}

TEST_F(ApplicationRunners, CopyTellsARunningCopyApplicationToBegin) {
    TgaActionRunnerCopy runner;
    runner.setScanAssistantData(data);
    processes.appear("Other", platform::fourCharCode("BNDL"), platform::fourCharCode("pCp5"));
    EXPECT_EQ(runner.performAction(), 0);
    EXPECT_EQ(journal.take(), (Lines{launchNext, sendName}));

    const std::int32_t copy =
        processes.appear("Copy", platform::fourCharCode("APPL"), platform::fourCharCode("pCp5"));
    EXPECT_EQ(runner.performAction(), 0);
    EXPECT_EQ(journal.take(), (Lines{launchNext, sendName,
                                     "send PLuc/scan to process " + std::to_string(copy) + " ----:****:"}));

    failSending(platform::errAETimeout);
    EXPECT_EQ(runner.performAction(), platform::errAETimeout);
    EXPECT_EQ(journal.take(), (Lines{launchNext, sendName}));

    runner.setScanAssistantData(Dictionary{{"NextAssistantPath", assistant}});
    EXPECT_EQ(runner.performAction(), 0);
    EXPECT_EQ(journal.take(), Lines{launchNext}) << "no driver name";
}

TEST_F(ApplicationRunners, CopyAndPhotoEndARunningScanAssistantFirst) {
    installApplication(paths::photoApplication(), {});
    TgaActionRunnerEPS photo;
    photo.setScanAssistantData(data);
    processes.appear("PScanAssistant");
    EXPECT_EQ(photo.performAction(), 0);
    const std::string launchPhoto =
        "launch " + paths::photoApplication() + "/Contents/MacOS/Program --twainname";
    EXPECT_EQ(journal.take(), (Lines{quitRequest, launchPhoto + " D1"}));

    photo.setScanAssistantData(std::nullopt);
    EXPECT_EQ(photo.performAction(), 0);
    EXPECT_EQ(journal.take(), Lines{launchPhoto}) << "no driver name, no assistant";

    TgaActionRunnerCopy copy;
    copy.setScanAssistantData(data);
    processes.appear("PScanAssistant");
    EXPECT_EQ(copy.performAction(), 0);
    EXPECT_EQ(journal.take(), (Lines{quitRequest, launchNext, sendName}));
}

} // namespace
} // namespace trigora
