#include "platform/linux/desktop/LinuxStringTable.h"
#include "platform/linux/desktop/LinuxSystemInformation.h"
#include "platform/linux/desktop/LinuxUserDefaults.h"
#include "platform/linux/desktop/StandardErrorConsole.h"
#include "platform/linux/files/LinuxFiles.h"
#include "tests/fakes/PlatformTest.h"

#include <cstdlib>
#include <fcntl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace trigora::platform {
namespace {

class DesktopSettings : public test::PlatformTest {
protected:
    LinuxUserDefaults defaults{current().fileSystem, current().folders, current().propertyLists};

    void SetUp() override { setLocale("", "", "", ""); }

    static void setLocale(const char* languages, const char* all, const char* messages, const char* lang) {
        const std::pair<const char*, const char*> variables[] = {
            {"LANGUAGE", languages}, {"LC_ALL", all}, {"LC_MESSAGES", messages}, {"LANG", lang}};
        for (const auto& [name, value] : variables) {
            *value == '\0' ? ::unsetenv(name) : ::setenv(name, value, 1);
        }
    }
};

TEST_F(DesktopSettings, LanguagesAndLocaleComeFromTheEnvironment) {
    struct Case {
        const char* languages;
        const char* all;
        const char* messages;
        const char* lang;
        Array expectedLanguages;
        const char* expectedLocale;
    };
    const Case cases[] = {
        {"", "", "", "", {"en"}, "en"},
        {"", "", "", "C.UTF-8", {"en"}, "en"},
        {"de", "", "", "POSIX", {"en"}, "en"},
        {"", "", "", "en_US.UTF-8", {"en"}, "en_US"},
        {"", "", "", "de_AT.UTF-8@euro", {"de"}, "de_AT"},
        {"", "", "fr_CA", "de_DE", {"fr"}, "fr_CA"},
        {"", "ja_JP", "fr_CA", "de_DE", {"ja"}, "ja_JP"},
        {"", "C", "fr_CA", "de_DE", {"en"}, "en"},
        {"", "", "", "zh_CN", {"zh-Hans"}, "zh_CN"},
        {"", "", "", "zh_TW.Big5", {"zh-Hant"}, "zh_TW"},
        {"de_AT:de:en", "", "", "de_DE", {"de", "en"}, "de_AT"},
        {"de:en", "", "", "de_DE.UTF-8", {"de", "en"}, "de_DE"},
        {"fr:", "", "", "de_DE", {"fr", "de"}, "fr"},
        {"", "", "", "../../etc", {"en"}, "en"},
        {"", "", "", "de_../x", {"de"}, "de"},
    };
    for (const Case& test : cases) {
        setLocale(test.languages, test.all, test.messages, test.lang);
        const std::string name = std::string(test.languages) + " " + test.lang;
        EXPECT_EQ(defaults.value("AppleLanguages"), Value(test.expectedLanguages)) << name;
        EXPECT_EQ(defaults.value("AppleLocale"), Value(test.expectedLocale)) << name;
        EXPECT_EQ(defaults.currentLocaleIdentifier(), test.expectedLocale) << name;
    }
    EXPECT_EQ(defaults.value("other"), std::nullopt);
}

TEST_F(DesktopSettings, GlobalPreferencesComeBeforeTheEnvironment) {
    setLocale("", "", "", "de_DE");
    writePropertyList("~/Library/Preferences/.GlobalPreferences.plist",
                      Dictionary{{"AppleLocale", "fr_FR"}, {"other", 1}});
    EXPECT_EQ(defaults.value("AppleLocale"), Value("fr_FR"));
    EXPECT_EQ(defaults.value("AppleLanguages"), Value(Array{"de"}));
    EXPECT_EQ(defaults.value("other"), Value(1));
    writePropertyList("~/Library/Preferences/.GlobalPreferences.plist", Dictionary{{"AppleLocale", 1}});
    EXPECT_EQ(defaults.currentLocaleIdentifier(), "de_DE");
    writeFile("~/Library/Preferences/.GlobalPreferences.plist", "damaged");
    EXPECT_EQ(defaults.value("AppleLocale"), Value("de_DE"));
}

TEST_F(DesktopSettings, DomainsAreFilesInThePreferences) {
    const Dictionary domain{{"a", Array{1}}};
    EXPECT_EQ(defaults.persistentDomain("loginwindow"), std::nullopt);
    EXPECT_TRUE(defaults.setPersistentDomain("loginwindow", domain));
    EXPECT_EQ(defaults.persistentDomain("loginwindow"), domain);
    EXPECT_EQ(readPropertyList("~/Library/Preferences/loginwindow.plist"), domain);
    EXPECT_FALSE(defaults.setPersistentDomain("loginwindow", {{"a", Value()}}));
    EXPECT_FALSE(defaults.setPersistentDomain("../x", domain));
    EXPECT_FALSE(defaults.setPersistentDomain("", domain));
    EXPECT_EQ(defaults.persistentDomain("loginwindow"), domain);
    EXPECT_FALSE(exists("~/Library/x.plist"));
}

TEST_F(DesktopSettings, TheSystemVersionAndTheDriverMayBeSetForTheInstallation) {
    const char* path = "/Library/Preferences/com.pelox.TrigoraAgent.plist";
    EXPECT_EQ(LinuxSystemInformation(current().propertyLists).systemVersion(), 0x1068);
    const std::pair<Value, std::int32_t> cases[] = {
        {0x1050, 0x1050}, {"0x105F", 0x105F}, {"0X1040", 0x1040}, {"4159", 4159},     {"x", 0x1068},
        {0, 0x1068},      {-1, 0x1068},       {1e300, 0x1068},    {Array{1}, 0x1068}, {"0xFFFFFFFF", 0x1068},
    };
    for (const auto& [version, expected] : cases) {
        writePropertyList(path, Dictionary{{"SystemVersion", version}});
        EXPECT_EQ(LinuxSystemInformation(current().propertyLists).systemVersion(), expected)
            << version.description();
    }
    writePropertyList(path, Array{});
    EXPECT_EQ(LinuxSystemInformation(current().propertyLists).systemVersion(), 0x1068);
    EXPECT_TRUE(LinuxSystemInformation(current().propertyLists).isNewerDriverInstalled());
    writePropertyList(path, Dictionary{{"NewerDriver", false}});
    EXPECT_FALSE(LinuxSystemInformation(current().propertyLists).isNewerDriverInstalled());
}

TEST_F(DesktopSettings, TextsAreInTheFirstLanguageThatHasThem) {
    const std::string resources = std::string(agentBundlePath) + "/Contents/Resources/";
    const auto text = [&](const char* key) {
        return LinuxStringTable(current().bundles, current().propertyLists, userDefaults)
            .localizedString(key);
    };
    EXPECT_EQ(text("a"), "a"); // there is no bundle at all
    writePropertyList(std::string(agentBundlePath) + "/Contents/Info.plist", Dictionary{});
    writePropertyList(resources + "en.lproj/Localizable.strings",
                      Dictionary{{"a", "A"}, {"b", "B"}, {"c", "C"}, {"d", "D"}, {"number", 1}});
    writePropertyList(resources + "de.lproj/Localizable.strings", Dictionary{{"a", "de A"}, {"c", "de C"}});
    writePropertyList(resources + "de-AT.lproj/Localizable.strings", Dictionary{{"a", "at A"}});
    writePropertyList(resources + "fr.lproj/Localizable.strings", Dictionary{{"b", "fr B"}, {"c", "fr C"}});
    writeFile(resources + "ja.lproj/Localizable.strings", "damaged");
    userDefaults.values["AppleLanguages"] = Array{"ja", 7, "de-AT", "fr", "../../de.lproj/x"};
    const std::pair<const char*, const char*> texts[] = {{"a", "at A"}, {"b", "fr B"},        {"c", "de C"},
                                                         {"d", "D"},    {"number", "number"}, {"", ""}};
    for (const auto& [key, expected] : texts) {
        EXPECT_EQ(text(key), expected);
    }
    writePropertyList(resources + "fr_CA.lproj/Localizable.strings", Dictionary{{"b", "ca B"}});
    for (const auto& [locale, expected] : {std::pair{"fr_CA", "ca B"}, std::pair{"fr_FR", "fr B"}}) {
        userDefaults.values = {{"AppleLanguages", Array{"fr"}}, {"AppleLocale", locale}};
        EXPECT_EQ(text("b") + text("c"), std::string(expected) + "fr C");
    }
    userDefaults.values.clear();
    EXPECT_EQ(text("a"), "A");
}

TEST(StandardErrorConsole, LosesWhatIsNotTakenAtOnceAndBlocksNobody) {
    StandardErrorConsole console;
    for (const bool isSocket : {false, true}) {
        int ends[2];
        ASSERT_EQ(isSocket ? ::socketpair(AF_UNIX, SOCK_STREAM, 0, ends) : ::pipe(ends), 0);
        const int former = ::dup(STDERR_FILENO);
        ::dup2(ends[1], STDERR_FILENO);
        console.write("first");
        std::string read(1000, 0);
        EXPECT_EQ(::read(ends[0], read.data(), read.size()), 6);
        for (int i = 0; i < 2000; ++i) {
            console.write(std::string(1000, 'x')); // more than it holds
        }
        while (::recv(ends[0], read.data(), read.size(), MSG_DONTWAIT) > 0) {
        }
        if (!isSocket) {
            ::fcntl(ends[0], F_SETFL, O_NONBLOCK);
            while (::read(ends[0], read.data(), read.size()) > 0) {
            }
        }
        console.write("last");
        const ssize_t size = ::read(ends[0], read.data(), read.size());
        EXPECT_TRUE(read.substr(0, static_cast<std::size_t>(std::max<ssize_t>(size, 0))).ends_with("last\n"));
        ::dup2(former, STDERR_FILENO);
        for (const int descriptor : {ends[0], ends[1], former}) {
            ::close(descriptor);
        }
    }
}

} // namespace
} // namespace trigora::platform
