#include "netscan/settings/DriverNames.h"

#include "files/InstalledPaths.h"
#include "tests/fakes/PlatformTest.h"

#include <array>

namespace trigora {
namespace {

using platform::fourCharCode;
using test::Lines;

const std::string question = "send PLsc/PSir to UsSe ----:utf8:50494420303134"
                             "32";

class DriverNames : public test::PlatformTest {
protected:
    /// The settings application quits while it is waited for.
    DriverNames() {
        clock.onSleep = [this] { processes.exit("Settings"); };
    }
    void installScanSettings(const std::string& path) {
        writePropertyList(path + "/Contents/Info.plist", Dictionary{{"CFBundleExecutable", "Settings"}});
        writeFile(path + "/Contents/MacOS/Settings", "");
    }
    /// The settings application answers with these bytes behind the two that nobody looks at.
    void answer(const std::string& bytes, const char (&type)[5] = "PSti") {
        appleEvents.answer = [bytes, type = fourCharCode(type)](const auto&, const auto&) {
            platform::AppleEventReply reply;
            Data data = {0, 1};
            data.insert(data.end(), bytes.begin(), bytes.end());
            reply.event.parameters.push_back({fourCharCode("----"), type, data});
            return reply;
        };
    }
    std::int32_t ask() {
        destination.fill(0);
        return getDSName("PID 0142", destination.data());
    }
    std::string name() const { return destination.data(); }

    std::array<char, driverNameSize> destination{};
};

TEST_F(DriverNames, ComeFromTheConverterFirst) {
    installScanSettings(paths::scanSettingsApplication());
    idConverter.twainIDs["PID 0142"] = "GX Scanner";
    EXPECT_EQ(ask(), 1);
    EXPECT_EQ(name(), "GX Scanner");
    idConverter.twainIDs["PID 0142"] = std::string(32, 'x') + "äää";
    EXPECT_EQ(ask(), 1);
    EXPECT_EQ(name(), std::string(32, 'x')) << "cut to its place between two characters";
    EXPECT_EQ(journal.take(), Lines{});
    idConverter.twainIDs["PID 0142"] = "";
    EXPECT_EQ(ask(), -2) << "an empty name is none";
    EXPECT_EQ(journal.take().back(), question);
    EXPECT_EQ(getDSName(nullptr, destination.data()), -2);
    EXPECT_EQ(getDSName("PID 0142", nullptr), -2);
}

TEST_F(DriverNames, ComeFromTheScanSettingsWhileTheyRun) {
    EXPECT_EQ(ask(), -2) << "not installed";
    installScanSettings(paths::scanSettingsApplicationInUtilities());
    answer(std::string("GX Scanner\0junk", 15));
    EXPECT_EQ(ask(), 1);
    EXPECT_EQ(name(), "GX Scanner");
    EXPECT_EQ(journal.take(),
              (Lines{"launch " + paths::scanSettingsApplicationInUtilities() + "/Contents/MacOS/Settings -S",
                     question}));
    EXPECT_FALSE(processes.isRunning(101)) << "its exit is waited for";
    installScanSettings(paths::scanSettingsApplication());
    EXPECT_EQ(ask(), 1);
    EXPECT_EQ(journal.take().front(),
              "launch " + paths::scanSettingsApplication() + "/Contents/MacOS/Settings -S");
    processes.launches = false;
    EXPECT_EQ(ask(), -2);
    processes.launches = true;
    writePropertyList(paths::scanSettingsApplication() + "/Contents/Info.plist", Dictionary{});
    EXPECT_EQ(ask(), -2) << "no executable";
}

TEST_F(DriverNames, AreTakenFromAnswersOfTheRightFormOnly) {
    installScanSettings(paths::scanSettingsApplication());
    const std::pair<std::string, std::string> rows[] = {
        {"", ""},
        {std::string(1, '\0'), ""},
        {"unterminated", "unterminated"},
        {std::string(1000, 'y'), std::string(33, 'y')},
        {std::string(31, 'y') + "ä!", std::string(31, 'y') + "ä"},
        {"\xFF", ""}};
    for (const auto& [bytes, expected] : rows) {
        answer(bytes);
        EXPECT_EQ(ask(), expected.empty() ? -2 : 1) << bytes;
        EXPECT_EQ(name(), expected);
    }
    answer("name", "utf8");
    EXPECT_EQ(ask(), -2);
    appleEvents.answer = [](const auto&, const auto&) { return platform::AppleEventReply{}; };
    EXPECT_EQ(ask(), -2) << "no direct parameter";
    appleEvents.answer = [](const auto&, const auto&) {
        platform::AppleEventReply reply{platform::errAETimeout, {}};
        reply.event.parameters.push_back({fourCharCode("----"), fourCharCode("PSti"), {0, 0, 'n'}});
        return reply;
    };
    EXPECT_EQ(ask(), -2);
    ConvertFromPID("PID 0142", nullptr);
}

TEST_F(DriverNames, AreAskedForUntilTheApplicationIsUp) {
    installScanSettings(paths::scanSettingsApplication());
    const double start = clock.monotonicSeconds();
    EXPECT_EQ(ask(), -2);
    const Lines lines = journal.take();
    EXPECT_EQ(std::count(lines.begin(), lines.end(), question), 102);
    EXPECT_NEAR(clock.monotonicSeconds() - start, 101 * 0.2, 1e-6);

    answer("GX Scanner");
    int sends = 0;
    appleEvents.answer = [&sends, up = appleEvents.answer](const auto& target, const auto& event) {
        return ++sends < 3 ? platform::AppleEventReply{platform::procNotFound, {}} : up(target, event);
    };
    EXPECT_EQ(ask(), 1);
    EXPECT_EQ(sends, 3);
}

TEST_F(DriverNames, AreLookedUpOneAtATime) {
    installScanSettings(paths::scanSettingsApplication());
    std::int32_t secondResult = -1;
    appleEvents.answer = [&](const auto&, const auto&) {
        std::array<char, driverNameSize> second{};
        secondResult = getDSName("PID 0143", second.data());
        return platform::AppleEventReply{platform::errAETimeout, {}};
    };
    EXPECT_EQ(ask(), -2);
    EXPECT_EQ(secondResult, 0);
    EXPECT_EQ(ask(), -2) << "and then again";
}

} // namespace
} // namespace trigora
