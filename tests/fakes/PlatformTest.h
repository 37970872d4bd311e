#pragma once

#include "platform/Platform.h"
#include "platform/linux/files/LinuxFiles.h"
#include "platform/linux/formats/LinuxFormats.h"
#include "platform/linux/modules/LinuxBundles.h"
#include "platform/linux/modules/LinuxLowMemory.h"
#include "tests/fakes/Fakes.h"

#include <gtest/gtest.h>

#include <memory>

namespace trigora::test {

/// A folder of its own below the system's temporary folder, removed at the end.
class TemporaryFolder {
public:
    TemporaryFolder();
    ~TemporaryFolder();
    TemporaryFolder(const TemporaryFolder&) = delete;
    TemporaryFolder& operator=(const TemporaryFolder&) = delete;

    const std::string& path() const { return path_; }

private:
    std::string path_;
};

/// Home is the given folder.
class TestFolders final : public platform::Folders {
public:
    explicit TestFolders(std::string home) : home_(std::move(home)) {}

    std::string home() override { return home_; }
    std::optional<std::string> documents() override;
    std::string documentsPath() override { return home_ + "/Documents"; }
    std::optional<std::string> applications() override { return "/Applications"; }

private:
    std::string home_;
};

/// A platform for one test: real files in a temporary root and home, everything else fake and written
/// into one journal. Process-wide instances live as long as the test.
class PlatformTest : public ::testing::Test {
protected:
    static constexpr const char* agentBundlePath = "/Applications/Pelox Software/Trigora.app/Contents/"
                                                   "Resources/Assistants/Trigora/TrigoraAgent.app";

    PlatformTest();
    ~PlatformTest() override;

    /// Where a path of the system lies on the disk; "~" is the test's home.
    std::string onDisk(const std::string& path) const;
    /// Writes a file with all its folders; path as for `onDisk`.
    void writeFile(const std::string& path, const std::string& bytes);
    /// Writes a property list with all its folders.
    void writePropertyList(const std::string& path, const platform::Value& value);
    /// Makes a folder with all its parents.
    void makeFolder(const std::string& path);
    /// The file's bytes; fails the test when there is no such file.
    std::string readFile(const std::string& path);
    platform::Dictionary readPropertyList(const std::string& path);
    bool exists(const std::string& path);
    /// The text in UTF-16, little-endian, with a byte-order mark.
    static std::string utf16(const std::string& text);

private:
    TemporaryFolder folder_;
    platform::InstallationRoot root_;

protected:
    Journal journal;
    FakeClock clock;
    FakeRunLoop loop{clock};
    FakeNotifications notifications{loop, journal};
    FakeAppleEvents appleEvents{journal};
    FakeProcesses processes{clock, journal};
    FakeWorkspace workspace{journal};
    FakeAlertPanel alertPanel{journal};
    FakeUserDefaults userDefaults;
    FakeSystemInformation systemInformation;
    FakeStringTable stringTable;
    FakeConsole console;
    FakeIDConverter idConverter;
    const std::string home;

private:
    platform::LinuxFileSystem fileSystem_{root_};
    platform::LinuxFileContents fileContents_{root_};
    platform::LinuxFileMetadata fileMetadata_{root_};
    TestFolders folders_{home};
    platform::IconvTextEncodings textEncodings_;
    platform::LinuxPropertyLists propertyLists_{fileContents_};
    platform::LinuxJson json_;
    platform::LinuxMessageDigest messageDigest_;
    platform::PngImages images_{fileContents_};
    platform::LinuxBundles bundles_{root_, fileSystem_, propertyLists_, agentBundlePath};
    platform::LinuxLowMemory lowMemory_;
    platform::SharedInstances sharedInstances_;
    platform::Platform platform_;
};

} // namespace trigora::test
