#include "tests/tools/SettingsCommandTest.h"

namespace trigora::tools {
namespace {

class WrongInputTest : public SettingsCommandTest {
protected:
    struct Case {
        Words words;
        ExitCode code;
        std::string fragment; ///< of the sentence
    };

    void SetUp() override {
        SettingsCommandTest::SetUp();
        const std::string settingsFile = std::string(ownProjects) + "Mine/ScanSetting.plist";
        writePropertyList(settingsFile, Dictionary{{"resolution", 100}});
        writeProject(ownProjects, "Mine", "701", "0x0001", "300", settingsFile, "FeatureKillBits=0x000F\n");
        writeProject(ownProjects, "Gone", "702", "0x0001", "999");
        writeProject(folderProjects, "Open", "701", "0x0002", "300");
        writeProject(folderProjects, "Print", "702", "0x0002", "310");
        writeProject(folderProjects, "Other", "709", "0x0002", "300");
        writePropertyList(bindings, Dictionary{{"100", "701"}});
        writePropertyList(watched, Dictionary{{"1", Dictionary{{"folderPath", "/a"}}}});
        makeFolder("~/100%");
    }

    void expectRefused(const std::vector<Case>& cases) {
        const auto before = tree();
        for (const auto& [words, code, fragment] : cases) {
            std::string line;
            for (const std::string& word : words) {
                line += word + ' ';
            }
            const Outcome outcome = run(words);
            EXPECT_EQ(outcome.code, code) << line;
            EXPECT_EQ(outcome.out, "") << line;
            EXPECT_NE(outcome.err.find(fragment), std::string::npos) << line << outcome.err;
            EXPECT_EQ(tree(), before) << line;
        }
        EXPECT_EQ(journal.take(), Lines{});
    }
};

TEST_F(WrongInputTest, IsRefusedAndChangesNothing) {
    expectRefused({
        {{"bind"}, wrongUsage, "EVENT is missing"},
        {{"bind", "100"}, wrongUsage, "PROJECT is missing"},
        {{"bind", "100", "610", "x"}, wrongUsage, "what is x?"},
        {{"bind", "10", "610"}, notFound, "did you mean 100 (Start), 101 (Copy) or 102 (Fixed)?"},
        {{"bind", "250x", "610"}, notFound, "there is no event 250x"},
        {{"bind", "Start", "610"}, notFound, "did you mean 100 (Start)?"},
        {{"bind", "300", "610"}, wrongUsage, "trigoractl watch"},
        {{"bind", "102", "701"}, failed, "cannot be bound"},
        {{"bind", "100", "000"}, notFound, "job buttons only"},
        {{"bind", "100", "709"}, notFound, "is one for watched folders"},
        {{"events", "--kind", "0x1000zz"}, wrongUsage, "there is no kind 0x1000zz"},
        {{"bind", "100", "619"}, notFound, "did you mean 610 (PDF)?"},
        {{"bind", "100", "zzz"}, notFound, "there are 500 (Mail), 610 (PDF), 701 (Mine)"},
        {{"bind", "101", "340"}, notFound, "missing: /Applications/Gone.app"},
        {{"bind", "101", "610"}, notFound, "cannot run project 610 (PDF)"},
        {{"bind", "200", "500"}, notFound, "it can run 610 (PDF), 701 (Mine)"},
        {{"bind", "100", "610", "--model", "F01"}, wrongUsage, "four hexadecimal digits"},
        {{"bind", "100", "610", "--model", "0000"}, wrongUsage, "no model ID"},
        {{"bind", "100", "610", "--model", "0G01"}, wrongUsage, "did you mean 0F01"},
        {{"bind", "100", "999", "--model", "0F01"}, notFound, "there is no project 999"},
        {{"bind", "100", "610", "--modle", "0F01"}, wrongUsage, "no option --modle"},
        {{"bind", "100", "\x1b[2J"}, notFound, "there is no project ?[2J"},
        {{"unbind", "101"}, notFound, "not bound"},
        {{"unbind", "100", "--model", "0F02"}, notFound, "of model 0F02 is not bound"},
        {{"watch", "1"}, wrongUsage, "--every is needed"},
        {{"watch", "4", "~/Scans", "--every", "5", "--project", "701"}, wrongUsage, "from 1 to 3"},
        {{"watch", "1", "~/Nope", "--every", "5", "--project", "701"}, notFound, "there is no folder"},
        {{"watch", "1", "", "--every", "5", "--project", "701"}, wrongUsage, "not an empty path"},
        {{"watch", "1", onDisk(bindings), "--every", "5", "--project", "701"}, notFound, "is no folder"},
        {{"watch", "1", "~/Scans", "--every", "0", "--project", "701"}, wrongUsage, "from 1 to 86400"},
        {{"watch", "1", "~/Scans", "--every", "5", "--project", "610"},
         notFound,
         "there are 701 (Open), 709 (Other)"},
        {{"watch", "1", "~/Scans", "--every", "5", "--project", "702"}, notFound, "Gone.app"},
        {{"unwatch", "2"}, notFound, "watched folder 2 is not set"},
        {{"events", "--kind", "jobs"}, wrongUsage, "there is no kind jobs"},
        {{"projects", "--folder", "--model", "0F01"}, wrongUsage, "no model"},
        {{"project", "sett", "701"}, wrongUsage, "did you mean project set"},
    });
}

TEST_F(WrongInputTest, OfProjectsIsRefusedAndChangesNothing) {
    expectRefused({
        {{"project", "new"}, wrongUsage, "NAME is missing"},
        {{"project", "new", " "}, wrongUsage, "cannot be named"},
        {{"project", "new", "a=b"}, wrongUsage, "cannot be named"},
        {{"project", "new", "a]b"}, wrongUsage, "cannot be named"},
        {{"project", "new", "a\rb"}, wrongUsage, "cannot be named"},
        {{"project", "new", "a\xFF"}, wrongUsage, "cannot be named"},
        {{"project", "new", std::string(252, 'a')}, wrongUsage, "cannot be named"},
        {{"project", "new", "Mine"}, failed, "named Mine already"},
        {{"project", "new", "A", "--folder"}, wrongUsage, "needs --action or --application"},
        {{"project", "new", "A", "--folder", "--action", "300", "resolution=1"},
         wrongUsage,
         "no scan settings"},
        {{"project", "new", "A", "--action", "310"}, notFound, "Gone.app"},
        {{"project", "new", "A", "--action", "30"}, notFound, "did you mean 310 (Printer) or 300 (Viewer)?"},
        {{"project", "new", "A", "--application", "Viewer.app"}, wrongUsage, "whole path"},
        {{"project", "new", "A", "--application", "/Applications/Nope.app"}, notFound, "no application"},
        {{"project", "new", "A", "--application", "/Applications/Viewer.app"}, notFound, "Info.plist"},
        {{"project", "new", "A", "--application", "/etc/passwd"}, notFound, "may not be executed"},
        {{"project", "new", "-x"}, wrongUsage, "no option -x"},
        {{"project", "new", "A", "folderPath="}, wrongUsage, "not an empty path"},
        {{"project", "new", "A", "--application", "/a[1].app"}, wrongUsage, "cannot hold"},
        {{"project", "new", "A", "resolution"}, wrongUsage, "KEY=VALUE"},
        {{"project", "new", "A", "resolutoin=3"}, wrongUsage, "did you mean resolution?"},
        {{"project", "new", "A", "resolution=0"}, wrongUsage, "allowed is 1 to 9600"},
        {{"project", "new", "A", "resolution=3e2"}, wrongUsage, "allowed is 1 to 9600"},
        {{"project", "new", "A", "resolution="}, wrongUsage, "allowed is 1 to 9600"},
        {{"project", "new", "A", "documentSize=A7"}, wrongUsage, "8 A6"},
        {{"project", "new", "A", "TwainUI=maybe"}, wrongUsage, "yes or no"},
        {{"project", "new", "A", "prefix=a/b"}, wrongUsage, "text without \"/\""},
        {{"project", "new", "A", "projectID=5"}, wrongUsage, "kept by the system"},
        {{"project", "new", "A", "folderPath=~/Nope"}, notFound, "there is no folder"},
        {{"project", "new", "A", "folderPath=~/100%"}, wrongUsage, "with \"%\""},
        {{"project", "new", "A", "bad=1", "--model", "0F01"}, wrongUsage, "no key bad"},
        {{"project", "copy", "701"}, wrongUsage, "NEWNAME is missing"},
        {{"project", "copy", "340", "A"}, failed, "no scan settings to copy"},
        {{"project", "copy", "702", "A"}, failed, "no action 999 is installed"},
        {{"project", "copy", "799", "A"}, notFound, "there is no project 799"},
        {{"project", "copy", "610", "A", "resolution=a", "--model", "0F01"}, wrongUsage, "1 to 9600"},
        {{"project", "set", "701"}, wrongUsage, "nothing to set"},
        {{"project", "set", "610", "resolution=1"}, failed, "project copy"},
        {{"project", "set", "701", "folderPath=~/Scans"}, failed, "does not let its folder"},
        {{"project", "set", "701", "fileFormat=1"}, failed, "does not let its file format"},
        {{"project", "set", "701", "--action", "300"}, failed, "does not let its action"},
        {{"project", "set", "702", "resolution=1"}, failed, "would lose its action"},
        {{"project", "delete", "701"}, failed, "does not let itself be deleted"},
        {{"project", "delete", "610"}, failed, "stays as it is"},
        {{"project", "delete", "999", "--model", "0F01"}, notFound, "there is no project 999"},
        {{"project", "delete", "703", "--folder"}, notFound, "there is no project 703"},
    });
}

TEST_F(WrongInputTest, DamagedSettingsAreReportedAndStay) {
    const struct {
        std::string path;
        std::vector<Words> commands;
    } cases[] = {
        {bindings, {{"bind", "100", "610"}, {"unbind", "100"}, {"unwatch", "1"}, {"project", "new", "A"}}},
        {std::string(settings) + "Model0F02/ButtonEventProjectInfo.plist",
         {{"bind", "201", "610", "--model", "0F02"}}},
        {"~/Library/Preferences/MRA2.3/Model00FE/ButtonEventProjectInfo.plist",
         {{"bind", "100", "610", "--model", "00FE"}}},
        {watched,
         {{"watch", "1", "~/Scans", "--every", "5", "--project", "701"},
          {"unwatch", "1"},
          {"project", "delete", "701", "--folder"},
          {"project", "new", "A", "--folder", "--action", "300"}}},
        {std::string(ownProjects) + "Mine/ScanSetting.plist",
         {{"project", "set", "701", "resolution=1"}, {"project", "copy", "701", "A"}}},
    };
    for (const auto& [path, commandLines] : cases) {
        const auto whole = exists(path) ? readFile(path) : std::string();
        for (const std::string bytes : {"", "<plist><dict>", "\xFF\xFE\x01"}) {
            writeFile(path, bytes);
            const auto before = tree();
            for (const Words& words : commandLines) {
                const Outcome outcome = run(words);
                EXPECT_EQ(outcome.code, failed) << words[0];
                EXPECT_NE(outcome.err.find(onDisk(path) + " is damaged"), std::string::npos) << outcome.err;
                EXPECT_EQ(tree(), before) << words[0];
            }
        }
        if (path == bindings) {
            EXPECT_EQ(run({"events"}).code, failed) << "shown, but not as if all were well";
        }
        if (whole.empty()) {
            std::filesystem::remove(onDisk(path));
        } else {
            writeFile(path, whole);
        }
    }
    EXPECT_EQ(journal.take(), Lines{});
}

} // namespace
} // namespace trigora::tools
