#include "companions/TrigoraButtons/sensors/SensorTable.h"
#include "files/InstalledPaths.h"
#include "tests/fakes/PlatformTest.h"

#include <fstream>
#include <sstream>

namespace trigora::buttons {
namespace {

class SensorTableTest : public test::PlatformTest {
protected:
    void install(const std::string& text) { writeFile(paths::scannerButtonsFile(), text); }
    void addOwn(const std::string& text) { writeFile(paths::userScannerButtonsFile(), text); }

    static std::string described(const BackEndRules& rules) {
        static constexpr const char* kinds[] = {"level", "cleared", "latched", "text"};
        std::ostringstream text;
        text << rules.interval.count() << (rules.readsTwice ? " twice" : "")
             << (rules.reopens ? " reopen" : "");
        for (const SensorRow& row : rules.rows) {
            text << " | " << row.option << ' ' << kinds[static_cast<int>(row.kind)] << ' ' << row.button;
            for (const auto& [word, button] : row.words) {
                text << ' ' << word << ':' << button;
            }
        }
        return text.str();
    }
};

TEST_F(SensorTableTest, TheInstalledTableIsWholeAndInOrder) {
    std::ifstream file(TRIGORA_TREE + paths::scannerButtonsFile());
    std::ostringstream text;
    text << file.rdbuf();
    install(text.str());
    const SensorTable table = SensorTable::read();
    EXPECT_EQ(table.problems(), std::vector<std::string>{});
    const std::pair<const char*, const char*> beginnings[] = {
        {"genesys", "100 | scan level 1 | copy level 2"},
        {"plustek", "100 | button 0 cleared 1 | button 1 cleared 2"},
        {"hp3900", "100 | button 0 cleared 1 | button 1 cleared 2"},
        {"rts8891", "100 | button-scan cleared 1 | button-copy cleared 2"},
        {"avision", "200 | message text 0"},
        {"hp5590", "100 | button-pressed text 0"},
        {"pixma", "400 reopen | button-1 latched 1 | button-2 latched 2"},
        {"fujitsu", "100 twice | scan level 1 | email level 2"},
        {"canon_dr", "100 twice | start level 1"},
        {"epjitsu", "1000 | scan level 1"},
        {"never heard of", "100"},
    };
    for (const auto& [backEnd, beginning] : beginnings) {
        EXPECT_EQ(described(table.rulesOf(backEnd)).substr(0, std::string(beginning).size()), beginning)
            << backEnd;
    }
    for (const char* option : {"page-loaded", "cover-open", "wait-for-button", "button-controlled"}) {
        EXPECT_TRUE(table.isNoButton("pixma", option)) << option;
    }
    EXPECT_FALSE(table.isNoButton("genesys", "scan"));
}

TEST_F(SensorTableTest, TheUsersLinesCountBeforeTheInstalledOnes) {
    install("[genesys]\nscan=level 1\nfile=level 2\ncopy=level 3 9\nweb=level 4\n");
    addOwn("[genesys]\nscan=level 5\nfile=none\nInterval=250\n[mine]\nstart=text Go:1 stop:2\n");
    const SensorTable table = SensorTable::read();
    EXPECT_EQ(described(table.rulesOf("genesys")), "250 | web level 4 | scan level 5 | copy level 3");
    EXPECT_TRUE(table.isNoButton("genesys", "file"));
    EXPECT_EQ(described(table.rulesOf("mine")), "100 | start text 0 go:1 stop:2");
    addOwn("");
    EXPECT_EQ(described(SensorTable::read().rulesOf("genesys")),
              "100 | scan level 1 | file level 2 | web level 4 | copy level 3");
}

TEST_F(SensorTableTest, ALineThatMeansNothingIsToldAndPassedOver) {
    const char* lines[] = {"scan=",         "scan=level", "scan=level 0",   "scan=level -1",
                           "scan=lever 1",  "scan=text",  "scan=text scan", "scan=text :1",
                           "scan=text a:0", "scan=1",     "scan=text a:1 b"};
    for (const char* line : lines) {
        install("[genesys]\ncopy=level 2\n" + std::string(line) + '\n');
        const SensorTable table = SensorTable::read();
        EXPECT_EQ(described(table.rulesOf("genesys")), "100 | copy level 2") << line;
        ASSERT_EQ(table.problems().size(), 1U) << line;
        EXPECT_NE(table.problems()[0].find(line), std::string::npos) << table.problems()[0];
    }
    const std::pair<const char*, int> intervals[] = {{"0", 20}, {"-5", 20}, {"99999999999", 60000}, {"", 20}};
    for (const auto& [text, expected] : intervals) {
        install("[genesys]\nInterval=" + std::string(text) + '\n');
        EXPECT_EQ(SensorTable::read().rulesOf("genesys").interval.count(), expected) << text;
    }
}

} // namespace
} // namespace trigora::buttons
