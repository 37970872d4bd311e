#include "catalogue/actions/TrActionInformation.h"

#include "catalogue/actions/TrActionManager.h"
#include "files/InstalledPaths.h"
#include "tests/fakes/PlatformTest.h"

#include <filesystem>

namespace trigora::test {

class TrActionInformationTest : public PlatformTest {
protected:
    static std::string actionFile(const std::string& name) { return paths::actionFolder() + "/" + name; }
};

TEST_F(TrActionInformationTest, ReadsTheActionFileAndItsTexts) {
    makeFolder("/Applications/Foo.app");
    writeFile(actionFile("Foo.adi"), "[Launch]\nID=17\nVersion=1.2\nOptionType=0x0002\n"
                                     "[Launch_MacX]\nAppPath=/Applications/Foo.localized\nSignature=fooo\n");
    writeFile(actionFile("Foo/String_en.def"), utf16("Caption=Foo\rDescription=Opens Foo\r"));
    const auto action = TrActionInformation::initWithPath(actionFile("Foo.adi"));
    EXPECT_EQ(action->actionID(), "17");
    EXPECT_EQ(action->version(), "1.2");
    EXPECT_EQ(action->option(), "0x0002");
    EXPECT_EQ(action->applicationPath(), "/Applications/Foo.app");
    EXPECT_EQ(action->signature(), "fooo");
    EXPECT_EQ(action->projectApplicationName(), "Foo");
    EXPECT_EQ(action->description(), "Opens Foo");
    EXPECT_EQ(action->actionFilePath(), std::nullopt);

    const auto empty = TrActionInformation::initWithPath(actionFile("missing.adi"));
    EXPECT_EQ(empty->actionID(), std::nullopt);
    EXPECT_FALSE(empty->isRunableAction());
}

TEST_F(TrActionInformationTest, TheSixthCharacterOfTheOptionTypeDecides) {
    const struct {
        const char* optionType;
        const char* option;
    } cases[] = {{"0x0001", "0x0001"},  {"0x00013", "0x0001"}, {"0x00023", "0x0002"},
                 {"0x0003", "unknown"}, {"0x2", "unknown"},    {"", "unknown"}};
    for (const auto& [optionType, option] : cases) {
        const std::string path = actionFile(std::string("T") + optionType + ".adi");
        writeFile(path, std::string("[Launch]\nOptionType=") + optionType + "\n");
        EXPECT_EQ(TrActionInformation::initWithPath(path)->option(), option) << optionType;
    }
}

TEST_F(TrActionInformationTest, ResolvesTheApplicationPath) {
    makeFolder("/Applications/Foo.app");
    makeFolder("/Applications/Bar");
    const struct {
        std::optional<std::string> path;
        std::optional<std::string> resolved;
    } cases[] = {
        {"/Applications/Foo.localized", "/Applications/Foo.app"},
        {"/Applications/Foo", "/Applications/Foo.app"},
        {"/Applications/Bar", "/Applications/Bar"},
        {"/Applications/Gone.localized", std::nullopt},
        {"", std::nullopt},
        {std::nullopt, std::nullopt},
        {"/Applications/PELOX Scan.app", "/Applications/PELOX Scan.app"},
    };
    for (const auto& [path, resolved] : cases) {
        TrActionInformation action;
        action.setApplicationPath(path);
        EXPECT_EQ(action.applicationPath(), resolved) << path.value_or("(none)");
    }

    TrActionInformation scan;
    scan.setApplicationPath("/Applications/PELOX Scan.app");
    EXPECT_FALSE(scan.isRunableAction()) << "the former place is kept, though nothing is there";
    makeFolder("/Applications/Pelox Software/PELOX Scan.app");
    makeFolder("/Applications/PELOX Scan.app");
    scan.setApplicationPath("/Applications/PELOX Scan.app");
    EXPECT_EQ(scan.applicationPath(), "/Applications/Pelox Software/PELOX Scan.app");
    EXPECT_TRUE(scan.isRunableAction());
    EXPECT_EQ(scan.projectApplicationName(), "PELOX Scan");
}

TEST_F(TrActionInformationTest, CopiesEveryFieldAndResolvesThePathAgain) {
    makeFolder("/Applications/Foo.app");
    const auto action = TrActionInformation::initWithActionID("17");
    action->setActionFilePath("f");
    action->setDescription("d");
    action->setOption("folder");
    action->setOptionData(Dictionary{{"k", "v"}});
    action->setVersion("2");
    action->setMaker("m");
    action->setSignature("s");
    action->setProjectApplicationName("n");
    action->setApplicationPath("/Applications/Foo.app");
    auto copy = action->copyActionInformation();
    EXPECT_EQ(std::tuple(copy->actionID(), copy->actionFilePath(), copy->description(), copy->option(),
                         copy->version(), copy->maker(), copy->signature(), copy->projectApplicationName(),
                         copy->applicationPath(), copy->optionData()),
              std::tuple("17", "f", "d", "folder", "2", "m", "s", "n", "/Applications/Foo.app",
                         Dictionary{{"k", "v"}}));

    std::filesystem::remove(onDisk("/Applications/Foo.app"));
    EXPECT_EQ(action->copyActionInformation()->applicationPath(), std::nullopt);
}

TEST_F(TrActionInformationTest, TheManagerListsTheInstalledActionsUntilItIsReleased) {
    makeFolder(paths::actionFolder());
    writeFile(actionFile("readme.ADI"), "[Launch]\nID=9\n");
    EXPECT_EQ(TrActionManager::sharedActionManager()->predefinedActionList(), std::nullopt);

    writeFile(actionFile("b.adi"), "[Launch]\nID=2\n");
    writeFile(actionFile("a.adi"), "[Launch]\nID=1\n");
    EXPECT_EQ(TrActionManager::sharedActionManager()->predefinedActionList(), std::nullopt);
    TrActionManager::releaseSharedManager();
    const auto actions = TrActionManager::sharedActionManager()->predefinedActionList();
    ASSERT_TRUE(actions && actions->size() == 2);
    EXPECT_EQ(actions->front()->actionID(), "1");
    EXPECT_EQ(actions->back()->actionID(), "2");
}

} // namespace trigora::test
