#include "monitor/TgaSurveillant.h"

#include "catalogue/actions/TrActionInformation.h"
#include "catalogue/events/TrMonitorEventInformation.h"
#include "files/PxIniParser.h"
#include "files/TrFilePathUtility.h"
#include "projects/information/TrProjectInformation.h"
#include "projects/manager/TrProjectManager.h"
#include "tests/fakes/PlatformTest.h"

#include <filesystem>

namespace trigora {
namespace {

using test::Lines;

class TgaSurveillantTest : public test::PlatformTest {
protected:
    TgaSurveillantTest() {
        makeFolder("/Applications/Viewer.app");
        makeFolder("~/in");
        installProject("/Applications/Viewer.app", "0x0001");
    }

    /// The folder project 701, whose action is the user's own choice of application.
    void installProject(const std::string& application, const std::string& option) {
        const std::string folder =
            TrFilePathUtility::sharedFilePathUtility()->customFolderProjectFolderPath();
        writeFile(folder + "/Watch.plg", "[Launch]\nProjectID=701\nProjectType=0x0002\nActionID=900\n"
                                         "[Event_Launch_MacX]\nAppPath=" +
                                             application + "\nOption=" + option + "\n");
        PxIniParser::sharedParser()->removeAllItems();
        TrProjectManager::releaseSharedManager();
    }

    std::shared_ptr<TrMonitorEventInformation> monitorEvent() const {
        auto event = std::make_shared<TrMonitorEventInformation>();
        event->setMonitorFolderPath(home + "/in");
        event->setTimeInterval(Value(2));
        event->setConnectedProjectID("701");
        return event;
    }

    std::string open(const std::string& name, const std::string& application = "/Applications/Viewer.app") {
        return "open " + home + "/in" + name + " with " + application;
    }

    void drop(const std::string& name) { writeFile("~/in/" + name, "x"); }
    void remove(const std::string& path) { std::filesystem::remove_all(onDisk(path)); }

    Lines afterOneCheck() {
        loop.advance(2);
        return journal.take();
    }

    TgaSurveillant watcher;
};

TEST_F(TgaSurveillantTest, OpensWhatNewlyAppears) {
    drop("old");
    drop("second");
    watcher.setupMonitorSettings(monitorEvent());
    EXPECT_EQ(afterOneCheck(), Lines{});
    drop("b");
    drop("a");
    drop(".hidden");
    drop("A");
    drop("zz\xC3\xA9");
    loop.advance(1.9);
    EXPECT_EQ(journal.take(), Lines{}) << "before the period is over";
    loop.advance(0.1);
    EXPECT_EQ(journal.take(),
              (Lines{open("/.hidden"), open("/A"), open("/a"), open("/b"), open("/zz\xC3\xA9")}));
    EXPECT_EQ(afterOneCheck(), Lines{}) << "handed over once";
    drop("old"); // changed under its name
    EXPECT_EQ(afterOneCheck(), Lines{});
    std::filesystem::rename(home + "/in/old", home + "/in/new");
    EXPECT_EQ(afterOneCheck(), Lines{open("/new")});
    remove("~/in/new");
    EXPECT_EQ(afterOneCheck(), Lines{});
    drop("new");
    EXPECT_EQ(afterOneCheck(), Lines{open("/new")});
}

TEST_F(TgaSurveillantTest, OpensManyInOrderWhileOtherThingsAreHeard) {
    watcher.setupMonitorSettings(monitorEvent());
    Lines expected;
    for (int i = 10; i < 60; ++i) {
        drop(std::to_string(i));
        expected.push_back(open("/" + std::to_string(i)));
    }
    expected.push_back(open("/00"));
    workspace.onOpen = [&] {
        workspace.onOpen = nullptr;
        loop.performOnMainThread([&] { journal.add("a press"); });
        drop("00");
        loop.advance(2); // the next check finds it while the others wait
    };
    Lines seen = afterOneCheck();
    EXPECT_NE(seen.back(), "a press") << "not after all of them";
    EXPECT_EQ(std::erase(seen, "a press"), 1U);
    EXPECT_EQ(seen, expected);

    for (int i = 60; i < 99; ++i) {
        drop(std::to_string(i));
    }
    workspace.onOpen = [&] { loop.performOnMainThread([&] { watcher.invalidateMonitorFolder(); }); };
    EXPECT_LT(afterOneCheck().size(), 39U) << "what waits when the folder is watched no more is dropped";
}

TEST_F(TgaSurveillantTest, CountsEverythingInAFolderThatReappearsAsNew) {
    drop("a");
    watcher.setupMonitorSettings(monitorEvent());
    remove("~/in");
    EXPECT_EQ(afterOneCheck(), Lines{});
    writeFile("~/in", "a file, not a folder");
    EXPECT_EQ(afterOneCheck(), Lines{});
    remove("~/in");
    drop("a");
    drop("b");
    EXPECT_EQ(afterOneCheck(), (Lines{open("/a"), open("/b")}));
}

TEST_F(TgaSurveillantTest, StopsForGood) {
    watcher.setupMonitorSettings(monitorEvent());
    {
        TgaSurveillant other;
        other.setupMonitorSettings(monitorEvent());
        EXPECT_EQ(loop.timerCount(), 2U);
    }
    EXPECT_EQ(loop.timerCount(), 1U);
    watcher.invalidateMonitorFolder();
    watcher.invalidateMonitorFolder();
    EXPECT_EQ(loop.timerCount(), 0U);
}

TEST_F(TgaSurveillantTest, OpensInTheDesktopsFileManager) {
    makeFolder("/Applications/Tools/Finder.app");
    installProject("/Applications/Tools/Finder.app", "0x0001");
    watcher.setupMonitorSettings(monitorEvent());
    drop("a");
    drop("b");
    EXPECT_EQ(afterOneCheck(), Lines{open("", "Finder")});
    EXPECT_EQ(afterOneCheck(), Lines{});
}

TEST_F(TgaSurveillantTest, OpensTheFolderOnceWithTheFolderOption) {
    const auto manager = TrProjectManager::sharedProjectManager();
    manager->monitorProjectList()[0]->actionInformation()->setOption("folder");
    watcher.setupMonitorSettings(monitorEvent());
    drop("a");
    drop("b");
    EXPECT_EQ(afterOneCheck(), Lines{open("")});
}

TEST_F(TgaSurveillantTest, WatchesOnlyWithUsableSettings) {
    using Change = std::function<void(TrMonitorEventInformation&)>;
    struct Case {
        const char* what;
        Change change;
        bool isWatched;
    };
    const auto interval = [](Value seconds) -> Change {
        return [seconds](TrMonitorEventInformation& event) { event.setTimeInterval(seconds); };
    };
    const Case cases[] = {
        {"one second", interval(1), true},
        {"text", interval("10 seconds"), true},
        {"a fraction is cut off", interval(1.9), true},
        {"less than a second", interval(0.9), false},
        {"no second", interval(0), false},
        {"negative", interval(-5), false},
        {"of no use", interval(Array{5}), false},
        {"no interval", [](auto& event) { event.setTimeInterval(std::nullopt); }, false},
        {"no folder", [](auto& event) { event.setMonitorFolderPath(std::nullopt); }, false},
        {"a folder that is missing", [](auto& event) { event.setMonitorFolderPath("/missing"); }, false},
        {"no project", [](auto& event) { event.setConnectedProjectID(std::nullopt); }, false},
        {"a project that is missing", [](auto& event) { event.setConnectedProjectID("702"); }, false},
    };
    for (const Case& c : cases) {
        const auto event = monitorEvent();
        c.change(*event);
        TgaSurveillant idle;
        idle.setupMonitorSettings(event);
        EXPECT_EQ(loop.timerCount() == 1, c.isWatched) << c.what;
    }
    installProject("/Applications/Missing.app", "0x0001");
    watcher.setupMonitorSettings(monitorEvent());
    EXPECT_EQ(loop.timerCount(), 0U) << "an application that is missing";
    installProject("/Applications/Viewer.app", "0x0001");
    TrProjectManager::sharedProjectManager();
    remove("/Applications/Viewer.app");
    watcher.setupMonitorSettings(monitorEvent());
    EXPECT_EQ(loop.timerCount(), 0U) << "an application that has gone since its project was read";
}

} // namespace
} // namespace trigora
