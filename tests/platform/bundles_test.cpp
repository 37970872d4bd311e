#include "platform/Bundles.h"
#include "platform/linux/modules/LinuxIDConverter.h"
#include "tests/fakes/PlatformTest.h"

#include <filesystem>
#include <fstream>
#include <sys/stat.h>

namespace trigora::platform {
namespace {

namespace fs = std::filesystem;

class BundleFiles : public test::PlatformTest {
protected:
    static constexpr const char* path = "/Library/Counter.bundle";

    void writeBundle(const std::string& executable) {
        writePropertyList(std::string(path) + "/Contents/Info.plist",
                          Dictionary{{"CFBundleExecutable", executable}});
    }
    void install(const char* library, const std::string& as) {
        fs::create_directories(fs::path(onDisk(as)).parent_path());
        fs::copy_file(library, onDisk(as), fs::copy_options::overwrite_existing);
    }
    /// What the module counts; -1 when it has no such function.
    static int count(Bundle& bundle) {
        auto* function = functionNamed<int()>(bundle, "count");
        return function == nullptr ? -1 : function();
    }
};

TEST_F(BundleFiles, TheModuleStaysUntilEveryLoadingIsUndone) {
    const std::vector<std::string> loaded{path};
    writeBundle("Counter");
    install(TRIGORA_COUNTER_MODULE, std::string(path) + "/Contents/MacOS/Counter");
    auto first = current().bundles.create(path);
    const auto second = current().bundles.create(path);
    ASSERT_TRUE(first && second);
    EXPECT_EQ(count(*first), 1);
    EXPECT_EQ(count(*second), 2);
    EXPECT_EQ(current().bundles.loadedModules(), loaded);
    first->unloadExecutable();
    first->unloadExecutable();
    EXPECT_EQ(count(*second), 3);
    EXPECT_EQ(current().bundles.loadedModules(), loaded);
    second->unloadExecutable();
    EXPECT_EQ(current().bundles.loadedModules(), std::vector<std::string>{});
    EXPECT_TRUE(first->loadExecutable());
    EXPECT_EQ(count(*first), 1);
    EXPECT_EQ(first->functionPointer("missing"), nullptr);
    // Its threads may still run when the object is gone.
    first.reset();
    EXPECT_EQ(current().bundles.loadedModules(), loaded);
    EXPECT_EQ(count(*second), 2);
}

TEST_F(BundleFiles, WhatIsNoModuleIsNotLoaded) {
    const std::string executable = std::string(path) + "/Contents/MacOS/Counter";
    EXPECT_EQ(current().bundles.create(path), nullptr);
    makeFolder(std::string(path) + "/Contents/Info.plist");
    EXPECT_EQ(current().bundles.create(path), nullptr);
    fs::remove(onDisk(std::string(path) + "/Contents/Info.plist"));
    writePropertyList(std::string(path) + "/Contents/Info.plist", Array{});
    EXPECT_EQ(current().bundles.create(path), nullptr);
    EXPECT_EQ(current().bundles.create(""), nullptr);

    writeBundle("Counter");
    const auto bundle = current().bundles.create(path);
    ASSERT_TRUE(bundle);
    const auto reason = [] {
        const std::vector<ModuleFailure> failures = current().bundles.failedModules();
        return failures.size() == 1 && failures[0].path == path ? failures[0].reason : "";
    };
    EXPECT_EQ(bundle->executablePath(), std::nullopt);
    EXPECT_FALSE(bundle->loadExecutable());
    EXPECT_EQ(reason(), "the executable that its Info.plist names is missing");
    writeFile(executable, "no module");
    EXPECT_EQ(bundle->executablePath(), executable);
    EXPECT_FALSE(bundle->loadExecutable());
    EXPECT_TRUE(reason().starts_with(onDisk(executable) + ": ")) << reason(); // in the loader's words
    fs::remove(onDisk(executable));
    ASSERT_EQ(::mkfifo(onDisk(executable).c_str(), 0777), 0); // opening it would block
    EXPECT_EQ(bundle->functionPointer("count"), nullptr);
    EXPECT_EQ(reason(), "its executable is not a file that can be read");
    fs::remove(onDisk(executable));
    install(TRIGORA_COUNTER_MODULE, executable);
    EXPECT_TRUE(bundle->loadExecutable());
    EXPECT_TRUE(current().bundles.failedModules().empty());
    bundle->unloadExecutable();
}

TEST_F(BundleFiles, NamesDoNotLeadOutOfTheBundle) {
    install(TRIGORA_COUNTER_MODULE, "/Library/evil");
    writeFile(std::string(path) + "/Contents/Resources/de.lproj/a.txt", "x");
    makeFolder(std::string(path) + "/Contents/MacOS");
    writeBundle("../../../evil");
    const auto bundle = current().bundles.create(path);
    ASSERT_TRUE(bundle);
    EXPECT_EQ(bundle->executablePath(), std::nullopt);
    EXPECT_FALSE(bundle->loadExecutable());
    EXPECT_EQ(bundle->resourcePath("../Info", "plist"), std::nullopt);
    EXPECT_EQ(bundle->resourcePath("de.lproj/a", "txt"),
              std::string(path) + "/Contents/Resources/de.lproj/a.txt");
    EXPECT_EQ(bundle->resourcePath("de.lproj/a", "png"), std::nullopt);
}

TEST_F(BundleFiles, TheConverterAndEachOfItsFunctionsMayBeMissing) {
    const auto installedBelow = [&](const std::string& folder, const char* library) {
        const std::string frameworks = folder + "/Library/Frameworks";
        fs::create_directories(frameworks);
        fs::copy_file(library, frameworks + "/libPeloxIDConverter.so.1");
        return InstallationRoot(folder);
    };
    const InstallationRoot none(home + "/none");
    LinuxIDConverter absent(none);
    EXPECT_FALSE(absent.hasModelIDWithTwainID());
    EXPECT_NE(absent.PS2GetModelIDWithTwainID("PELOX Scänner", 256), 0);
    EXPECT_EQ(absent.PS2GetTwainIDWithProductID("0123"), std::nullopt);

    const InstallationRoot part = installedBelow(home + "/part", TRIGORA_PARTIAL_CONVERTER);
    LinuxIDConverter partial(part);
    EXPECT_TRUE(partial.hasModelIDWithTwainID());
    EXPECT_EQ(partial.PS2GetModelIDWithTwainID("PELOX Scänner", 257), 0);
    EXPECT_EQ(partial.PS2GetTwainIDWithProductID("0123"), std::nullopt);

    const InstallationRoot all = installedBelow(home + "/all", TRIGORA_CONVERTER);
    LinuxIDConverter whole(all);
    EXPECT_EQ(whole.PS2GetModelIDWithTwainID("PELOX Scänner", 256), 0);
    EXPECT_EQ(whole.PS2GetModelIDWithTwainID("another", 256), 5);
    EXPECT_EQ(whole.PS2GetTwainIDWithProductID("0123"), "PELOX Scänner");
    EXPECT_EQ(whole.PS2GetTwainIDWithProductID("4567"), std::nullopt);
    EXPECT_EQ(whole.PS2GetTwainIDWithProductID("long"), std::string(255, 'x'));
    EXPECT_EQ(whole.PS2GetTwainIDWithProductID("broken"), std::nullopt);
}

} // namespace
} // namespace trigora::platform
