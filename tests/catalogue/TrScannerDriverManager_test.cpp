#include "catalogue/drivers/TrScannerDriverManager.h"

#include "catalogue/drivers/TrScannerDriverInformation.h"
#include "files/InstalledPaths.h"
#include "tests/fakes/PlatformTest.h"

namespace trigora::test {

class TrScannerDriverManagerTest : public PlatformTest {
protected:
    static Value driver(const char* name, bool isImageCapture = false) {
        return Dictionary{{"DriverInfoDrivername", name}, {"DriverInfoICA", isImageCapture}};
    }

    std::shared_ptr<TrScannerDriverManager> manager = TrScannerDriverManager::sharedScannerDriverManager();
};

TEST_F(TrScannerDriverManagerTest, NamesTellOtherDriversFromImageCaptureDrivers) {
    const struct {
        Value list;
        std::vector<std::string> names;
    } cases[] = {
        {Array{driver("A", true), driver("B")}, {"A", "B - TWAIN"}},
        {Array{driver("A"), driver("B")}, {"A", "B"}},
        {Array{driver("B"), "junk", Dictionary{{"DriverInfoDrivername", 7}}, driver("A", true)},
         {"B - TWAIN", "A"}},
        {"no list", {}},
        {Value(), {}},
    };
    for (const auto& [list, names] : cases) {
        manager->setScannerDriverList(list);
        EXPECT_EQ(manager->scannerDriverNameList(), names) << list.description();
    }
}

TEST_F(TrScannerDriverManagerTest, ChoosingADriverRestartsTheAssistantAndTellsItThePlainName) {
    manager->setScannerDriverList(Array{driver("A", true), driver("B")});
    writeFile(paths::scanAssistantExecutable(), "");
    processes.appear("PScanAssistant");
    notifications.onPost("ReplySAQuitDistributedNotification",
                         [this](const auto&) { processes.exit("PScanAssistant"); });

    manager->setCurrentScannerDriverWithName("B - TWAIN");
    ASSERT_NE(manager->currentScannerDriverInformation(), nullptr);
    EXPECT_EQ(manager->currentScannerDriverInformation()->driverName(), "B");
    EXPECT_EQ(journal.take(),
              (Lines{"post! ReplySAQuitDistributedNotification", "launch " + paths::scanAssistantExecutable(),
                     "post! ReplySetCurrentDriverDistributedNotification {CurrentDriverName = B;}"}));

    manager->setCurrentScannerDriverWithName(std::nullopt);
    EXPECT_EQ(manager->currentScannerDriverInformation(), nullptr);
    EXPECT_EQ(journal.take(), Lines{"post DidSetCurrentDriverDistributedNotification"});

    manager->setCurrentScannerDriverWithName("unknown");
    EXPECT_EQ(manager->currentScannerDriverInformation(), nullptr);
    EXPECT_EQ(journal.take().back(),
              "post! ReplySetCurrentDriverDistributedNotification {CurrentDriverName = unknown;}");
}

TEST_F(TrScannerDriverManagerTest, ForgetsTheDriversOfAnEarlierList) {
    manager->setScannerDriverList(Array{driver("A")});
    manager->setScannerDriverList(Array{driver("B")});
    manager->setCurrentScannerDriverWithName("A");
    EXPECT_EQ(manager->currentScannerDriverInformation(), nullptr);
}

} // namespace trigora::test
