#include "files/FileManagerExtension.h"
#include "files/InstalledPaths.h"
#include "files/TrFilePathUtility.h"
#include "files/TrImageLoadManager.h"
#include "tests/fakes/PlatformTest.h"

#include <filesystem>
#include <sys/stat.h>

namespace trigora {
namespace {

constexpr std::string_view installed = "/Applications/Pelox Software/Trigora.app/Contents/Resources/";

class FakeDriver final : public ScannerDriverModel {
public:
    FakeDriver(bool dependency, std::optional<std::string> modelID)
        : dependency_(dependency), modelID_(std::move(modelID)) {}
    bool isDependency() const override { return dependency_; }
    std::optional<std::string> hexadecimalModelID() const override { return modelID_; }

private:
    bool dependency_;
    std::optional<std::string> modelID_;
};

class PathsTest : public test::PlatformTest {
protected:
    std::shared_ptr<TrFilePathUtility> utility = TrFilePathUtility::sharedFilePathUtility();

    unsigned permissions(const std::string& path) const {
        struct stat status = {};
        return ::stat(onDisk(path).c_str(), &status) == 0 ? status.st_mode & 07777U : 0U;
    }
    void setLanguage(const char* language, const char* appleLocale, const char* current) {
        userDefaults.values = {{"AppleLanguages", Array{language}}, {"AppleLocale", appleLocale}};
        userDefaults.localeIdentifier = current;
    }
};

TEST_F(PathsTest, spellsEveryPath) {
    const std::string preferences = home + "/Library/Preferences/";
    const std::string user = preferences + "PELOX/Trigora/";
    EXPECT_EQ(utility->defaultCustomProjectFolderPath(), user + "AppInfo1");
    EXPECT_EQ(utility->customFolderProjectFolderPath(), user + "MonitorFolder/AppInfo1");
    EXPECT_EQ(utility->networkScanSettingPath(), user + "Settings/NetWorkScanSetting.plist");
    EXPECT_EQ(utility->oldNetworkScanSettingPath(), preferences + "MRA2.3/NetWorkScanStting.plist");
    EXPECT_EQ(utility->networkLogInfoPath(), user + "Settings/NetWorkLogInfo.plist");
    EXPECT_EQ(utility->scanToEmailTempFolderPath(), preferences + "Mosaro Temp");
    EXPECT_EQ(utility->tempFolderPath(), user + "Temp");
    EXPECT_EQ(paths::loginScratchFolder(), user + "Temp/PeloxTrigoraLoginTemp");
    EXPECT_EQ(paths::buttonBindingsFile(std::nullopt), user + "Settings/ButtonEventProjectInfo.plist");
    EXPECT_EQ(paths::formerButtonBindingsFile("012C"),
              preferences + "MRA2.3/Model012C/ButtonEventProjectInfo.plist");
    EXPECT_EQ(paths::formerWatchedFolderSettingsFile(2), user + "Settings/WatchedFolderSetting2.plist");

    const std::string resources(installed);
    EXPECT_EQ(utility->customProjectIconPath(),
              resources + "Common/AppInfo1/CustomProject/Custom Project.png");
    EXPECT_EQ(paths::deviceTableFile(), resources + "Assistants/Trigora/Resources/DevInf.def");
    EXPECT_EQ(paths::panelDriverModule(),
              resources + "Assistants/Trigora/TrigoraAgent.app/Contents/Resources/PanelDriver.bundle");
    EXPECT_EQ(paths::defaultJobEventFile(), resources + "Common/EventInfo/Job.plg");
    EXPECT_EQ(paths::quilloButtonManagerModule(), "/Applications/Pelox Software/Pelox Quillo.app/Contents/"
                                                  "Resources/ButtonManager.bundle");
    EXPECT_FALSE(exists("~/Library")); // naming makes nothing
    EXPECT_EQ(utility->documentsFolderPath(), home + "/Documents");
}

TEST_F(PathsTest, keepsProjectsApartByModel) {
    const std::string folder = home + "/Library/Preferences/PELOX/Trigora/";
    const auto path = [&](const std::shared_ptr<const ScannerDriverModel>& driver) {
        return utility->customProjectPathWithScannerDriver(driver);
    };
    EXPECT_EQ(path(std::make_shared<FakeDriver>(true, "012c")), folder + "Model012c/AppInfo1");
    EXPECT_EQ(path(std::make_shared<FakeDriver>(true, std::nullopt)), folder + "AppInfo1");
    EXPECT_EQ(path(std::make_shared<FakeDriver>(false, "012c")), folder + "AppInfo1");
    EXPECT_EQ(path(nullptr), folder + "AppInfo1");
}

TEST_F(PathsTest, findsLanguageAndCountry) {
    const struct {
        const char* language;
        const char* appleLocale;
        const char* current;
        std::optional<std::string> expectedLanguage;
        std::optional<std::string> expectedCountry;
    } cases[] = {
        {"en", "en_GB", "en_US", "en", "en"},    {"en", "en_CA", "de_DE", "en", "en_CA"},
        {"fr", "fr_CA", "", "fr", "fr_CA"},      {"fr", "fr_FR", "zh_TW", "fr", "fr"},
        {"de", "de_DE", "zh_TW", "de", "zh_TW"}, {"de", "en_US", "de_DE", "de", "de"},
        {"zh-Hans", "", "zh_CN", "zh", "zh_CN"}, {"en-GB", "en_US", "en_GB", "en", "en"},
        {"fr-CA", "fr_CA", "fr_CA", "fr", "fr"}, {"x", "", "", "x", std::nullopt},
        {"", "", "", "", std::nullopt},          {"日本語", "", "", "日本", "日本"},
    };
    for (const auto& [language, appleLocale, current, expectedLanguage, expectedCountry] : cases) {
        setLanguage(language, appleLocale, current);
        EXPECT_EQ(utility->currentLanguage(), expectedLanguage) << language << appleLocale << current;
        EXPECT_EQ(utility->currentCountry(), expectedCountry) << language << appleLocale << current;
    }
    for (const Value& broken : {Value(Array{}), Value("en"), Value(Array{7})}) {
        userDefaults.values = {{"AppleLanguages", broken}};
        EXPECT_EQ(utility->currentLanguage(), std::nullopt);
        EXPECT_EQ(utility->currentCountry(), std::nullopt);
    }
    userDefaults.values = {{"AppleLanguages", Array{"fr"}}, {"AppleLocale", 7}};
    EXPECT_EQ(utility->currentCountry(), "fr");
}

TEST_F(PathsTest, choosesTheStringFile) {
    setLanguage("fr", "fr_CA", "fr_CA");
    EXPECT_EQ(utility->stringDefaultPathWithEventFolder("/Library/E"), "/Library/E/String.def");
    writeFile("/Library/E/String.def", "");
    writeFile("/Library/E/String_fr.def", "");
    EXPECT_EQ(utility->stringDefaultPathWithEventFolder("/Library/E"), "/Library/E/String_fr.def");
    writeFile("/Library/E/String_fr_CA.def", "");
    EXPECT_EQ(utility->stringDefaultPathWithEventFolder("/Library/E"), "/Library/E/String_fr_CA.def");
}

TEST_F(PathsTest, makesFoldersForEverybody) {
    makeFolder("/Library/a");
    const unsigned before = permissions("/Library/a");
    utility->createFolderPath("/Library/a/b/c");
    EXPECT_EQ(permissions("/Library/a"), before);
    EXPECT_EQ(permissions("/Library/a/b"), 0777U);
    EXPECT_EQ(permissions("/Library/a/b/c"), 0777U);

    writeFile("/Library/file", "");
    utility->createFolderPath("/Library/file/below");
    utility->createFolderPath("");
    EXPECT_FALSE(exists("/Library/file/below"));
}

TEST_F(PathsTest, onlyTheUserCanEnterWhatHoldsTheOpenFolders) {
    const std::string user = "~/Library/Preferences/PELOX/Trigora";
    const auto expectPrivate = [&] {
        EXPECT_EQ(permissions("~/Library"), 0700U);
        EXPECT_EQ(permissions("~/Library/Preferences"), 0700U);
    };
    utility->createFolderPath(utility->tempFolderPath());
    expectPrivate();
    for (const char* folder : {"/..", "", "/Temp"}) {
        EXPECT_EQ(permissions(user + folder), 0777U) << folder;
    }
    std::filesystem::remove_all(onDisk("~/Library"));
    EXPECT_TRUE(exCreateDirectoryAtPath(utility->tempFolderPath(), true, std::nullopt));
    expectPrivate();
    ::chmod(onDisk("~/Library").c_str(), 0755);
    utility->createFolderPath(utility->tempFolderPath() + "/sub");
    EXPECT_EQ(permissions("~/Library"), 0755U) << "one that is there is its user's to decide about";
}

TEST_F(PathsTest, copiesFoldersWithoutHiddenNames) {
    writeFile("/Library/from/one", "1");
    writeFile("/Library/from/.hidden", "h");
    writeFile("/Library/from/deep/two", "2");
    writeFile("/Library/from/deep/.DS_Store", "h");
    writeFile("/Library/from/deep/.folder/three", "3");
    makeFolder("/Library/from/empty");
    writeFile("/Library/to/deep/two", "mine");
    utility->copyFolderPath("/Library/from", "/Library/to");
    EXPECT_EQ(readFile("/Library/to/one"), "1");
    EXPECT_EQ(readFile("/Library/to/deep/two"), "mine");
    EXPECT_TRUE(exists("/Library/to/empty"));
    EXPECT_FALSE(exists("/Library/to/.hidden"));
    EXPECT_FALSE(exists("/Library/to/deep/.DS_Store"));
    EXPECT_FALSE(exists("/Library/to/deep/.folder"));
}

TEST_F(PathsTest, copiesOfFoldersAroundThemselvesEnd) {
    writeFile("/Library/from/file", "1");
    writeFile("/Library/other/file", "2");
    std::filesystem::create_symlink(".", onDisk("/Library/from/loop"));
    std::filesystem::create_symlink("../other", onDisk("/Library/from/link"));
    utility->copyFolderPath("/Library/from", "/Library/to");
    EXPECT_EQ(readFile("/Library/to/link/file"), "2");
    EXPECT_EQ(readFile("/Library/to/loop/file"), "1");
    EXPECT_TRUE(std::filesystem::is_symlink(onDisk("/Library/to/loop/loop")));

    utility->copyFolderPath("/Library/other", "/Library/other/inside");
    EXPECT_EQ(readFile("/Library/other/inside/file"), "2");
    EXPECT_FALSE(exists("/Library/other/inside/inside"));
    utility->copyFolderPath("/Library/other", "/Library/other/inside/copy");
    EXPECT_EQ(readFile("/Library/other/inside/copy/inside/file"), "2");
    EXPECT_FALSE(exists("/Library/other/inside/copy/inside/copy"));
}

TEST_F(PathsTest, makesFilesOfACreator) {
    makeFolder("/Library/a");
    EXPECT_EQ(utility->createFileWithFork("/Library/a/f", 0x50454C58, "fork"), 0);
    EXPECT_EQ(permissions("/Library/a/f"), 0666U);
    writeFile("/Library/a/f", "content");
    EXPECT_EQ(utility->createFileWithFork("/Library/a/f", 0, "fork"), 0);
    EXPECT_EQ(readFile("/Library/a/f"), "content");
    EXPECT_EQ(utility->createFileWithFork("/Library/none/f", 0, "fork"), -1);

    FileReference reference;
    EXPECT_EQ(utility->fsRefFromFilePath("", reference), 0);
    EXPECT_EQ(utility->fsRefFromFilePath("/Library/none", reference), -1);
    EXPECT_EQ(reference.path, "");
    EXPECT_EQ(utility->fsRefFromFilePath("/Library/a", reference), 0);
    EXPECT_EQ(reference.path, "/Library/a");
    FileSpecification specification;
    EXPECT_EQ(utility->fsSpecFromPath("/Library/none", specification), 0);
    EXPECT_EQ(specification.name, "");
    EXPECT_NE(utility->fsSpecFromPath("", specification), 0);
    EXPECT_EQ(utility->fsSpecFromPath("/Library/a/f", specification), 0);
    EXPECT_EQ(specification.folder + " " + specification.name, "/Library/a f");
}

TEST_F(PathsTest, testsPreconditionsFirst) {
    const std::string none = "/Library/none";
    writeFile("/Library/d/f", "1");
    EXPECT_EQ(exDirectoryContentsAtPath(none), std::nullopt);
    EXPECT_EQ(exDirectoryContentsAtPath("/Library/d/f"), std::nullopt);
    EXPECT_EQ(exDirectoryContentsAtPath("/Library/d"), std::vector<std::string>{"f"});
    EXPECT_FALSE(exFileAttributesAtPath(none, true));
    EXPECT_FALSE(exFileSystemAttributesAtPath(none));
    EXPECT_FALSE(exChangeFileAttributes(attributesOfWrittenFile(), none));
    EXPECT_FALSE(exCreateSymbolicLinkAtPath(home + "/link", home + "/none"));
    EXPECT_FALSE(exCopyPath(none, "/Library/to"));
    EXPECT_FALSE(exMovePath(none, "/Library/to"));
    EXPECT_FALSE(exLinkPath(none, "/Library/to"));
    EXPECT_FALSE(exRemoveItemAtPath(none));

    EXPECT_TRUE(exCreateSymbolicLinkAtPath(home + "/link", "/Library/d"));
    EXPECT_EQ(exPathContentOfSymbolicLinkAtPath(home + "/link"), "/Library/d");
    EXPECT_TRUE(exFileAttributesAtPath(home + "/link", true)->isDirectory);
    EXPECT_TRUE(exFileAttributesAtPath(home + "/link", false)->isSymbolicLink);
    EXPECT_TRUE(exRemoveItemAtPath(home + "/link"));
    EXPECT_TRUE(exists("/Library/d/f"));

    const std::uint32_t before = permissions("/Library/d/f");
    EXPECT_FALSE(trigora::writePropertyList({{"nothing", Value()}}, "/Library/d/f", true))
        << "it has no such form";
    EXPECT_EQ(permissions("/Library/d/f"), before);
    EXPECT_EQ(readFile("/Library/d/f"), "1");

    EXPECT_TRUE(exCopyPath("/Library/d", "/Library/e"));
    EXPECT_FALSE(exMovePath("/Library/d", "/Library/e"));
    EXPECT_TRUE(exMovePath("/Library/d/f", "/Library/e/g"));
    EXPECT_EQ(exDirectoryContentsAtPath("/Library/e"), (std::vector<std::string>{"f", "g"}));
}

TEST_F(PathsTest, makesIntermediateFoldersOnEverySystem) {
    for (const int version : {0x1068, 0x1050, 0x104F}) {
        systemInformation.version = version;
        const std::string folder = "/Library/v" + std::to_string(version);
        EXPECT_FALSE(exCreateDirectoryAtPath(folder + "/b/c", false, std::nullopt));
        EXPECT_TRUE(exCreateDirectoryAtPath(folder + "/b/c", true, attributesOfMadeFolder()));
        EXPECT_EQ(permissions(folder), 0777U);
        EXPECT_EQ(permissions(folder + "/b/c"), 0777U);
        EXPECT_FALSE(exCreateDirectoryAtPath(folder + "/b/c", true, std::nullopt));
    }
}

TEST_F(PathsTest, loadsAPictureOnce) {
    // One red pixel.
    static constexpr unsigned char png[] = {
        0x89, 'P',  'N',  'G',  0x0D, 0x0A, 0x1A, 0x0A, 0x00, 0x00, 0x00, 0x0D, 'I',  'H',
        'D',  'R',  0x00, 0x00, 0x00, 0x01, 0x00, 0x00, 0x00, 0x01, 0x08, 0x02, 0x00, 0x00,
        0x00, 0x90, 0x77, 0x53, 0xDE, 0x00, 0x00, 0x00, 0x0C, 'I',  'D',  'A',  'T',  0x08,
        0xD7, 0x63, 0xF8, 0xCF, 0xC0, 0x00, 0x00, 0x03, 0x01, 0x01, 0x00, 0x18, 0xDD, 0x8D,
        0xB0, 0x00, 0x00, 0x00, 0x00, 'I',  'E',  'N',  'D',  0xAE, 0x42, 0x60, 0x82};
    const auto manager = TrImageLoadManager::sharedImageLoadManager();
    EXPECT_EQ(manager->imageWithFilePath("/Library/p.png"), nullptr);
    writeFile("/Library/p.png", "no picture");
    EXPECT_EQ(manager->imageWithFilePath("/Library/p.png"), nullptr);
    writeFile("/Library/p.png", std::string(std::begin(png), std::end(png)));
    const auto image = manager->imageWithFilePath("/Library/p.png");
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(image->pixels, (Data{0xFF, 0, 0, 0xFF}));
    EXPECT_TRUE(exRemoveItemAtPath("/Library/p.png"));
    EXPECT_EQ(manager->imageWithFilePath("/Library/p.png"), image);
}

} // namespace
} // namespace trigora
