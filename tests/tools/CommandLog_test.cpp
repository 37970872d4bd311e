#include "agent/log/PSlog.h"
#include "tests/tools/SettingsCommandTest.h"

namespace trigora::tools {
namespace {

class LogTest : public SettingsCommandTest {
protected:
    void SetUp() override {
        makeFolder(paths::resourcesFolder());
        const std::string root = platform::deletingLastPathComponent(onDisk("/Applications"));
        setenv("TRIGORA_ROOT", root.c_str(), 1);
    }
    void TearDown() override { unsetenv("TRIGORA_ROOT"); }

    const std::string agentLog = logSwitchFolder() + "/com.pelox.TrigoraAgent/log.log";
};

TEST_F(LogTest, IsSwitchedOffWithoutLosingALine) {
    EXPECT_EQ(run({"log", "off"}).out, "The log is off already.\n");
    EXPECT_EQ(run({"log", "on"}).code, done);
    EXPECT_TRUE(isLogSwitchedOn());
    EXPECT_NE(run({"log", "on"}).out.find("already"), std::string::npos);
    const auto permissions = [&](const std::string& folder) {
        return platform::current().fileMetadata.attributes(folder, false)->posixPermissions;
    };
    EXPECT_EQ(permissions("/Users/Shared/PELOX"), 0755U);
    EXPECT_EQ(permissions(logSwitchFolder()), 01777U);
    const std::string parent = platform::deletingLastPathComponent(onDisk(logSwitchFolder()));
    for (const char* line : {"first", "second"}) { // within one second
        run({"log", "on"});
        writeFile(agentLog, line);
        const Outcome off = run({"log", "off"});
        EXPECT_EQ(off.code, done) << off.err;
        EXPECT_FALSE(isLogSwitchedOn());
        const std::string named = off.out.substr(off.out.find(parent));
        const std::string aside = named.substr(0, named.size() - 2);
        EXPECT_EQ(readFile(aside + "/com.pelox.TrigoraAgent/log.log"), line) << off.out;
    }
    writeFile(logSwitchFolder(), "in the way");
    EXPECT_EQ(run({"log", "on"}).code, failed);
    EXPECT_EQ(run({"log", "follow"}).code, notFound);
}

TEST_F(LogTest, FollowsEveryProgramsWholeLines) {
    writeFile(agentLog, "old\n");
    int sleeps = 0;
    clock.onSleep = [&] {
        ++sleeps;
        if (sleeps == 1) {
            writeFile(agentLog, "old\nnew\033[2J\nhalf");
        } else if (sleeps == 2) {
            writeFile(agentLog, "old\nnew\033[2J\nhalf a line\n");
            writeFile(logSwitchFolder() + "/com.pelox.Other/log.log", "other\n");
        } else if (sleeps == 3) {
            writeFile(agentLog, "anew\n");
        }
    };
    EXPECT_EQ(run({"log", "follow", "--timeout", "2"}).out, "new?[2J\nother\nhalf a line\nanew\n");

    clock.onSleep = [&] {
        std::ofstream(onDisk(agentLog), std::ios::app) << "last\n";
        run({"log", "off"});
    };
    const Outcome all = run({"log", "follow", "--all"});
    EXPECT_EQ(all.code, done);
    EXPECT_TRUE(all.out.ends_with("anew\nlast\n")) << all.out;
    EXPECT_NE(all.err.find("switched off"), std::string::npos);
}

TEST_F(LogTest, IsNotSwitchedOnWhereNothingIsInstalled) {
    std::filesystem::remove_all(onDisk(paths::resourcesFolder()));
    const auto before = tree();
    const Outcome outcome = run({"log", "on"});
    EXPECT_EQ(outcome.code, notFound);
    EXPECT_NE(outcome.err.find("no folder " + onDisk(paths::resourcesFolder())), std::string::npos)
        << outcome.err;
    EXPECT_EQ(tree(), before);
}

TEST_F(LogTest, NamesTheFolderOnThisDisk) {
    EXPECT_EQ(json({"log", "on"}), (Dictionary{{"log", true}, {"folder", onDisk(logSwitchFolder())}}));
    EXPECT_NE(run({"log", "off"}).out.find(" " + onDisk(logSwitchFolder())), std::string::npos);
}

} // namespace
} // namespace trigora::tools
