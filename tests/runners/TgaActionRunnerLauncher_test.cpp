#include "runners/actions/TgaActionRunnerLauncher.h"

#include "catalogue/actions/TrActionInformation.h"
#include "tests/runners/RunnerTest.h"

namespace trigora {
namespace {

using test::Lines;

class Launcher : public test::RunnerTest {
protected:
    struct Result {
        std::int32_t status;
        Lines lines;
        friend bool operator==(const Result&, const Result&) = default;
        friend void PrintTo(const Result& result, std::ostream* stream) {
            *stream << result.status;
            for (const std::string& line : result.lines) {
                *stream << "\n  " << line;
            }
        }
    };

    Launcher() { makeFolder("/Applications/Scans"); }

    Result perform(const std::string& application, const std::vector<std::string>& files,
                   const std::string& option = "0x0001") {
        makeFolder(application);
        auto action = std::make_shared<TrActionInformation>();
        action->setApplicationPath(application);
        action->setOption(option);
        TgaActionRunnerLauncher runner;
        runner.setAction(action);
        runner.setScanDataFileList(files);
        const std::int32_t status = runner.performAction();
        return {status, journal.take()};
    }

    const std::string viewer = "/Applications/Viewer.app";
    const std::string finder = "/Applications/Finder.app";
    const std::string script = "/Applications/Mail.scpt";
    const std::string first = "/Applications/Scans/img001.jpg";
    const std::string second = "/Applications/Scans/img002.jpg";
};

TEST_F(Launcher, OpensFilesInOrderWithAPauseAfterEach) {
    const double start = clock.monotonicSeconds();
    EXPECT_EQ(perform(viewer, {first, second}),
              (Result{0, {"open " + first + " with " + viewer, "open " + second + " with " + viewer}}));
    EXPECT_NEAR(clock.monotonicSeconds() - start, 0.2, 1e-6);
    EXPECT_EQ(perform(viewer, {}), (Result{0, {}}));
}

TEST_F(Launcher, ShowsOnlyTheFirstFileInTheFileManager) {
    EXPECT_EQ(perform(finder, {first, second}), (Result{0, {"open " + first + " with Finder"}}));
    EXPECT_EQ(perform(finder, {}), (Result{0, {}}));
}

TEST_F(Launcher, OpensTheNearestExistingFolderForTheFolderOption) {
    struct Case {
        std::string file, opened;
    };
    for (const Case& c : {Case{first, "/Applications/Scans"},
                          Case{"/Applications/Scans/gone/too/img001.jpg", "/Applications/Scans"},
                          Case{"/Applications/Scans", "/Applications"}, Case{"/img001.jpg", "/"},
                          Case{"img001.jpg", ""}, Case{"", ""}}) {
        EXPECT_EQ(perform(viewer, {c.file, second}, "0x0002"),
                  (Result{0, {"open " + c.opened + " with " + viewer}}))
            << c.file;
    }
    EXPECT_EQ(perform(viewer, {}, "0x0002"), (Result{0, {}}));
}

TEST_F(Launcher, DoesNothingWithoutApplicationOrAfterAFailedScan) {
    EXPECT_EQ(perform(viewer, {first, "Scan is not succeed!"}), (Result{-2, {}}));
    EXPECT_EQ(perform(script, {"Scan is not succeed!"}), (Result{-2, {}}));
    TgaActionRunnerLauncher runner;
    EXPECT_EQ(runner.performAction(), -1) << "no action";
    runner.setAction(std::make_shared<TrActionInformation>());
    EXPECT_EQ(runner.performAction(), -1) << "no application path";
}

TEST_F(Launcher, RunsScriptsAndWaitsForThem) {
    struct Case {
        std::int32_t system;
        std::vector<std::string> files;
        std::string arguments;
    };
    int process = 100;
    for (const Case& c :
         {Case{0x1040, {first}, first}, Case{0x1068, {first, second}, "/Applications/Scans"},
          Case{0x1068, {}, "Message from my app."}, Case{0x103F, {first}, "scan_event " + first}}) {
        systemInformation.version = c.system;
        EXPECT_EQ(perform(script, c.files),
                  (Result{0,
                          {"launch /usr/bin/osascript " + script + " " + c.arguments,
                           "wait " + std::to_string(++process)}}))
            << c.arguments;
    }
    processes.launches = false;
    systemInformation.version = 0x1068;
    EXPECT_EQ(perform(script, {first}), (Result{0, {"launch /usr/bin/osascript " + script + " " + first}}));
}

TEST_F(Launcher, HoldsNothingUpForManyFiles) {
    std::vector<std::string> files;
    Lines expected;
    for (int i = 10; i < 26; ++i) {
        files.push_back("/Applications/Scans/" + std::to_string(i));
        expected.push_back("open " + files.back() + " with " + viewer);
    }
    workspace.missing = {files[3], files[12]};
    expected.erase(expected.begin() + 12);
    expected.erase(expected.begin() + 3);
    const double start = clock.monotonicSeconds();
    Lines opened = perform(viewer, files).lines;
    EXPECT_NEAR(clock.monotonicSeconds() - start, 0.9, 1e-6) << "not for the one that could not be opened";
    EXPECT_LT(opened.size(), expected.size());
    const Lines ofNextScan = perform(viewer, {"/Applications/Scans/a"}).lines;
    EXPECT_EQ(ofNextScan, Lines{}) << "the next scan's files come behind";
    expected.push_back("open /Applications/Scans/a with " + viewer);
    loop.advance(0.25);
    const Lines soon = journal.take();
    EXPECT_EQ(soon.size(), 2U) << "a tenth of a second after each";
    loop.advance(1);
    const Lines later = journal.take();
    opened.insert(opened.end(), soon.begin(), soon.end());
    opened.insert(opened.end(), later.begin(), later.end());
    EXPECT_EQ(opened, expected);
}

} // namespace
} // namespace trigora
