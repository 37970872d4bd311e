#include "usbscan/buttons/TgaButtonManager.h"

#include "files/InstalledPaths.h"
#include "platform/Bundles.h"
#include "tests/netscan/ModuleTest.h"

namespace trigora {
namespace {

using test::Lines;

class ButtonManager : public test::ModuleTest {
protected:
    void installQuillo() {
        makeFolder(paths::quilloApplication());
        installButtonManager(paths::quilloButtonManagerModule());
    }
    void installFotrix() {
        makeFolder(paths::fotrixApplication());
        installButtonManager(paths::fotrixButtonManagerModule());
    }
    /// Starts it; gives what the module was told.
    Lines start() {
        TgaButtonManager::sharedButtonManager()->start();
        return journal.take();
    }
    static bool serves() { return TgaButtonManager::sharedButtonManager()->isPushScanSupported("PID 0142"); }
    static bool takes() {
        return TgaButtonManager::sharedButtonManager()->invokeButtonManagerJobWithPidString("PID 0142",
                                                                                            "192.168.0.1");
    }
    static std::string modulePath() {
        const auto bundle = TgaButtonManager::buttonManagerInterfaceBundle();
        return bundle ? bundle->path() : "none";
    }

    const Lines started = {"ButtonManager initialize", "ButtonManager startNWDeviceObservation"};
};

TEST_F(ButtonManager, ServesFromItsStartOn) {
    installQuillo();
    EXPECT_FALSE(serves());
    EXPECT_FALSE(takes());
    TgaButtonManager::sharedButtonManager()->stop();
    EXPECT_EQ(journal.take(), Lines{});

    EXPECT_EQ(start(), started);
    EXPECT_TRUE(serves());
    EXPECT_TRUE(takes());
    EXPECT_EQ(journal.take(), Lines{"processEvent 2 PID 0142 192.168.0.1"});
    buttonManagerServes = false;
    EXPECT_FALSE(serves());
    EXPECT_FALSE(takes());
    TgaButtonManager::sharedButtonManager()->stop();
    EXPECT_EQ(journal.take(), Lines{"ButtonManager stopNWDeviceObservation"});
}

TEST_F(ButtonManager, TheFirstModuleThatExistsIsUsed) {
    EXPECT_EQ(modulePath(), "none");
    installFotrix();
    EXPECT_EQ(modulePath(), paths::fotrixButtonManagerModule());
    makeFolder(paths::quilloApplication());
    EXPECT_EQ(modulePath(), paths::fotrixButtonManagerModule()) << "the first has no module";
    installQuillo();
    EXPECT_EQ(modulePath(), paths::quilloButtonManagerModule());
    EXPECT_EQ(start(), started);
    remove(paths::quilloButtonManagerModule());
    writeFile(paths::quilloButtonManagerModule(), "no bundle");
    EXPECT_EQ(modulePath(), "none");
}

TEST_F(ButtonManager, NothingIsServedOnceTheApplicationsAreGone) {
    installQuillo();
    makeFolder(paths::fotrixApplication());
    start();
    remove(paths::quilloApplication());
    EXPECT_TRUE(serves()) << "the other application is still there";
    remove(paths::fotrixApplication());
    EXPECT_FALSE(serves());
    EXPECT_FALSE(takes());
    EXPECT_EQ(journal.take(), Lines{});
    installFotrix();
    EXPECT_TRUE(takes());
}

TEST_F(ButtonManager, AModuleThatDoesNotFitIsNotUsed) {
    EXPECT_EQ(start(), Lines{}) << "nothing is installed";
    makeFolder(paths::quilloApplication());
    EXPECT_EQ(start(), Lines{}) << "no module";
    installEmpty(paths::quilloButtonManagerModule());
    EXPECT_EQ(start(), Lines{}) << "no classes";
    remove(paths::quilloButtonManagerModule());
    installButtonManager(paths::quilloButtonManagerModule());
    const ButtonManagerClass whole = buttonOperations;
    const auto expectUnused = [&](const char* why) {
        EXPECT_EQ(start(), Lines{}) << why;
        EXPECT_FALSE(serves()) << why;
        EXPECT_EQ(objectsOut, 0) << why;
        buttonOperations = whole;
    };
    buttonOperations.header.version = 2;
    expectUnused("another version");
    buttonOperations.header.size -= 8;
    expectUnused("a smaller table");
    buttonOperations.create = nullptr;
    expectUnused("no maker of objects");
    buttonOperations.create = []() -> void* { return nullptr; };
    expectUnused("no object");
    buttonOperations.header.size += 8; // with an entry that the agent does not know
    buttonOperations.release = [](void*) {
        --self->objectsOut;
        throw std::bad_alloc(); // which nobody hears of
    };
    EXPECT_EQ(start(), started);
}

TEST_F(ButtonManager, OperationsThatTheObjectLacksAreLeftOut) {
    installQuillo();
    ButtonManagerClass bare{};
    bare.header = buttonOperations.header;
    bare.create = []() -> void* { return self; };
    buttonOperations = bare;
    EXPECT_EQ(start(), Lines{});
    EXPECT_FALSE(takes());
    buttonOperations.isPushScanSupported = [](void*, const char*) { return std::uint8_t{7}; };
    EXPECT_TRUE(takes());
    TgaButtonManager::sharedButtonManager()->stop();
    EXPECT_EQ(journal.take(), Lines{});
}

} // namespace
} // namespace trigora
