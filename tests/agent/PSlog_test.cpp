#include "agent/log/PSlog.h"

#include "tests/fakes/PlatformTest.h"

#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <limits>
#include <thread>

namespace trigora {
namespace {

constexpr const char* switchFolder = "/Users/Shared/PELOX/Button";
constexpr const char* logFolder = "/Users/Shared/PELOX/Button/com.pelox.TrigoraAgent";
constexpr const char* logFile = "/Users/Shared/PELOX/Button/com.pelox.TrigoraAgent/log.log";

class PSlogTest : public test::PlatformTest {
protected:
    PSlogTest() {
        setenv("TZ", "UTC", 1);
        tzset();
        writePropertyList(std::string(agentBundlePath) + "/Contents/Info.plist",
                          Dictionary{{"CFBundleIdentifier", "com.pelox.TrigoraAgent"}});
    }
};

TEST_F(PSlogTest, isSilentWithoutTheFolder) {
    PSlog("%s", "nothing");
    PSlogInC("nothing");
    EXPECT_TRUE(console.take().empty());
    EXPECT_FALSE(exists(switchFolder));

    writeFile(switchFolder, "a file is no folder");
    PSlog("nothing");
    EXPECT_TRUE(console.take().empty());
}

TEST_F(PSlogTest, writesLinesWithTwoBlanksAndToTheConsoleWithOne) {
    makeFolder(switchFolder);
    PSlog("%s Enter [Line %d] ", "-[Class operation]", 7);
    PSlogInC("%s [Line %d] driverName_String = %@", "f", 8, std::optional<std::string>());

    EXPECT_EQ(readFile(logFile),
              "[2026:01:02 03:04:05.000][com.pelox.TrigoraAgent] -[Class operation] Enter [Line 7]   \n"
              "[2026:01:02 03:04:05.000][com.pelox.TrigoraAgent] f [Line 8] driverName_String = (null)  \n");
    EXPECT_EQ(console.take(),
              (test::Lines{"[com.pelox.TrigoraAgent] -[Class operation] Enter [Line 7]  ",
                           "[com.pelox.TrigoraAgent] f [Line 8] driverName_String = (null) "}));
}

TEST_F(PSlogTest, roundsToMillisecondsAndCarriesIntoTheSecond) {
    makeFolder(switchFolder);
    const auto stampAt = [&](std::int64_t microseconds) {
        // The last second of a year, so that a carry shows in every field.
        clock.setWallMicroseconds(1798761599000000 + microseconds);
        PSlog("x");
        const std::string lines = readFile(logFile);
        return lines.substr(lines.rfind("[2"), 25);
    };
    EXPECT_EQ(stampAt(1499), "[2026:12:31 23:59:59.001]");
    EXPECT_EQ(stampAt(1500), "[2026:12:31 23:59:59.002]");
    EXPECT_EQ(stampAt(999499), "[2026:12:31 23:59:59.999]");
    EXPECT_EQ(stampAt(999600), "[2027:01:01 00:00:00.000]");
    setenv("TZ", "CET-1", 1); // while the program runs
    EXPECT_EQ(stampAt(0), "[2027:01:01 00:59:59.000]");
}

TEST_F(PSlogTest, stillWritesToTheConsoleWhenTheFileCannotBeMade) {
    writeFile(logFolder, "a file in the folder's place");
    PSlog("x");
    EXPECT_EQ(console.take(), test::Lines{"[com.pelox.TrigoraAgent] x "});
    EXPECT_EQ(readFile(logFolder), "a file in the folder's place");

    std::filesystem::remove(onDisk(logFolder));
    makeFolder(logFile);
    PSlog("y");
    EXPECT_EQ(console.take(), test::Lines{"[com.pelox.TrigoraAgent] y "});
}

TEST_F(PSlogTest, losesNoLineOfSeveralThreads) {
    makeFolder(switchFolder);
    constexpr int threadCount = 4;
    constexpr int lineCount = 50;
    std::vector<std::thread> threads;
    for (int i = 0; i < threadCount; ++i) {
        threads.emplace_back([] {
            for (int line = 0; line < lineCount; ++line) {
                PSlog("line");
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    const std::string line = "[2026:01:02 03:04:05.000][com.pelox.TrigoraAgent] line  \n";
    std::string expected;
    for (int i = 0; i < threadCount * lineCount; ++i) {
        expected += line;
    }
    EXPECT_EQ(readFile(logFile), expected);
}

TEST(StringWithFormat, fillsConversions) {
    const std::string name = "Büro";
    EXPECT_EQ(stringWithFormat("%@ has %d of %u, %ld%%", name, -3, 4U, 5L), "Büro has -3 of 4, 5%");
    EXPECT_EQ(stringWithFormat("%02d|%5d|%-5d|%+d|% d|%.3d|%-03d|", 7, -42, -42, 7, 7, 7, 7),
              "07|  -42|-42  |+7| 7|007|7  |");
    EXPECT_EQ(stringWithFormat("%x %X %#x %o %08llX %p", -1, 0xBEEF, 255, 8, 0xABCDL, 16),
              "ffffffff BEEF 0xff 10 0000ABCD 0x10");
    EXPECT_EQ(stringWithFormat("%d %u", std::numeric_limits<std::int64_t>::min(),
                               std::numeric_limits<std::uint64_t>::max()),
              "-9223372036854775808 18446744073709551615");
    EXPECT_EQ(stringWithFormat("%f %.1f %07.2f %e %g", 1.5, -0.25, -2.5F, 1234.5, 0.1),
              "1.500000 -0.2 -002.50 1.234500e+03 0.1");
    EXPECT_EQ(stringWithFormat("%5s|%-5s|%.2s|%.2s|%c", "ab", "ab", "abc", "aü", 'x'), "   ab|ab   |ab|a|x");
    EXPECT_EQ(stringWithFormat("%d %@ %@", true, false, Dictionary{{"a", 1}}),
              "1 0 " + Value(Dictionary{{"a", 1}}).description());
    EXPECT_EQ(stringWithFormat("%2$@ before %1$@, %@", "first", "second"), "second before first, first");
}

TEST(StringWithFormat, withstandsHostileFormats) {
    const struct {
        const char* format;
        const char* expected;
    } cases[] = {
        {"%n", "%n"},
        {"%*d %@", "%*d text"},
        {"100%", "100%"},
        {"%", "%"},
        {"%5", "%5"},
        {"%.", "%."},
        {"%l", "%l"},
        {"%y %@", "%y text"},
        {"%@ %@ %s", "text %@ %s"},
        {"%9$@ %0$@ %99999999999999999999$@ %@", "%9$@ %0$@ %99999999999999999999$@ text"},
        {"%d", "text"},
        {"%f", "text"},
        {"%c", "text"},
        {"plain", "plain"},
        {"", ""},
    };
    for (const auto& [format, expected] : cases) {
        EXPECT_EQ(stringWithFormat(format, "text"), expected) << format;
    }
    EXPECT_EQ(stringWithFormat("%99999d", 1), std::string(254, ' ') + "1");
    EXPECT_EQ(stringWithFormat("%.99999f", 1.0), "1." + std::string(255, '0'));
    EXPECT_EQ(stringWithFormat("%.99999f", std::numeric_limits<double>::max()).size(), 309U + 1U + 255U);
    EXPECT_EQ(stringWithFormat("%s %@ %.1f", 1, 2.5, 3), "1 2.5 3.0");
    EXPECT_EQ(stringWithFormat("%c%c", 0, 300), "??");
}

} // namespace
} // namespace trigora
