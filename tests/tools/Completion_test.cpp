#include "projects/settings/ScanSettingSchema.h"
#include "tests/tools/SettingsCommandTest.h"

#include <cstdio>
#include <cstdlib>

namespace trigora::tools {
namespace {

std::string source(const std::string& path) {
    std::ostringstream text;
    text << std::ifstream(std::string(TRIGORA_SOURCE) + "/" + path).rdbuf();
    return text.str();
}

/// What bash offers for lines that are typed, with the real tool.
class CompletionTest : public SettingsCommandTest {
protected:
    void SetUp() override {
        SettingsCommandTest::SetUp();
        root_ = onDisk("/Applications");
        root_ = root_.substr(0, root_.rfind('/'));
        writeProject(folderProjects, "Open", "702", "0x0002", "300");
        writeProject(ownProjects, "Mine", "701", "0x0001", "300");
    }

    std::string completed(const std::string& line) const {
        const std::string script =
            "export HOME='" + home + "' TRIGORA_ROOT='" + root_ +
            "' DBUS_SESSION_BUS_ADDRESS=unix:path=/nonexistent; source '" TRIGORA_SOURCE
            "/tools/trigoractl/trigoractl.bash'; COMP_WORDS=('" TRIGORACTL "'); COMP_LINE='" +
            line + "'; COMP_POINT=${#COMP_LINE}; _trigoractl; echo ${COMPREPLY[@]}";
        std::ofstream(home + "/complete.bash") << script;
        FILE* shell = popen(("bash '" + home + "/complete.bash'").c_str(), "r");
        std::string offered;
        for (int character = 0; shell != nullptr && (character = std::fgetc(shell)) != EOF;) {
            offered += static_cast<char>(character);
        }
        EXPECT_EQ(shell == nullptr ? -1 : pclose(shell), 0);
        return offered.substr(0, offered.find_last_not_of('\n') + 1);
    }

private:
    std::string root_;
};

TEST_F(CompletionTest, OffersWhatTheToolKnows) {
    const std::pair<const char*, const char*> cases[] = {
        {"trigoractl eve", "events"},
        {"trigoractl pro", "project projects"},
        {"trigoractl project ", "new copy set delete"},
        {"trigoractl project d", "delete"},
        {"trigoractl bind ", "100 101 102 200"},
        {"trigoractl bind --model 0F02 --json ", "201 202 203"},
        {"trigoractl bind 100 6", "610"},
        {"trigoractl bind 100 610 --m", "--model"},
        {"trigoractl events --model ", "0F01 0F02"},
        {"trigoractl watch 1 /x --project ", "702"},
        {"trigoractl bind 100 ", "500 610 701"},
        {"trigoractl project set ", "701"},
        {"trigoractl project delete --folder ", "702"},
        {"trigoractl project new \"For the printer\" --fol", "--folder"},
        {"trigoractl project new \"For the printer\" TIFF", "TIFFCompression="},
        {"trigoractl --json bind 10", "100 101 102"},
        {"trigoractl press --model ", ""},
        {"trigoractl press --driver D", "Desk\\ Scanner"},
        {"trigoractl press --driver \"Desk S", "Desk Scanner"},
        {"trigoractl press --driver \"Desk Scanner\" --but", "--button"},
        {"trigoractl panel c", "connect continue complete cancel"},
        {"trigoractl project new A --action ", "300 310"},
        {"trigoractl project set 701 --f", "--folder"},
        {"trigoractl project set 701 TIFF", "TIFFCompression="},
        {"trigoractl project set 701 projectI", ""},
        {"trigoractl project set 701 documentSource=", "auto table adf duplex"},
        {"trigoractl project set 701 TwainUI=y", "yes"},
    };
    for (const auto& [line, offered] : cases) {
        EXPECT_EQ(completed(line), offered) << line;
    }
}

TEST(ManualPageTest, NamesEveryCommandOptionAndKey) {
    const std::string page = platform::replacingOccurrences(source("docs/trigoractl.1"), "\\-", "-");
    ASSERT_FALSE(page.empty());
    for (const Command& command : commands()) {
        EXPECT_NE(page.find(command.name), std::string::npos) << command.name;
        for (const Option& option : command.options) {
            // The options of the panel are for makers of modules, and its help is where they are told.
            if (command.name != "panel") {
                EXPECT_NE(page.find("--" + std::string(option.name)), std::string::npos)
                    << command.name << " --" << option.name;
            }
        }
    }
    for (const ScanSetting& setting : scan_settings::all) {
        EXPECT_NE(page.find("\n" + std::string(setting.key) + "|"), std::string::npos) << setting.key;
    }
}

} // namespace
} // namespace trigora::tools
