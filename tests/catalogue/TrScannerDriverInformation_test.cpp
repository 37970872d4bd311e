#include "catalogue/drivers/TrScannerDriverInformation.h"

#include "files/InstalledPaths.h"
#include "tests/fakes/PlatformTest.h"

namespace trigora::test {

class TrScannerDriverInformationTest : public PlatformTest {
protected:
    static std::shared_ptr<TrScannerDriverInformation> driverWithDeviceInfo(const Dictionary& deviceInfo) {
        auto driver = TrScannerDriverInformation::initWithDriverInformation({});
        driver->setDeviceInfo(deviceInfo);
        return driver;
    }
};

TEST_F(TrScannerDriverInformationTest, ModelIDsAreFourDigitsOrNone) {
    const struct {
        Value modelID;
        std::optional<std::string> digits;
    } cases[] = {
        {300, "012C"},         {0, std::nullopt},          {-5, std::nullopt},         {"300", "012C"},
        {0x10000012C, "012C"}, {0xFFFFFFFF, std::nullopt}, {Array{300}, std::nullopt},
    };
    for (const auto& [modelID, digits] : cases) {
        EXPECT_EQ(driverWithDeviceInfo({{"DeviceInfoModelID", modelID}})->hexadecimalModelID(), digits)
            << modelID.description();
    }
    EXPECT_EQ(driverWithDeviceInfo({})->hexadecimalModelID(), std::nullopt);
}

TEST_F(TrScannerDriverInformationTest, ReadsTheCapabilityEntriesOfTheModel) {
    writeFile(paths::scannerCapabilityFile(),
              "[Model]\nJobDeviceType=2\nNumJobEvents=3\nModelDependency=1 \n"
              "[Model012C]\nJobDeviceType=9\nNumJobEvents=4\nModelDependency=1\nDeviceSettingAlias=S\n"
              "DevInfAlias=A1\nDuplexPaperMinSize=1x2\nDuplexPaperMaxSize=3x4\n");
    const auto driver = driverWithDeviceInfo({{"DeviceInfoModelID", 300}});
    EXPECT_EQ(driver->driverType(), 0) << "types from 7 on count as 0";
    EXPECT_EQ(driver->numberOfButton(), 4);
    EXPECT_TRUE(driver->isDependency());
    EXPECT_EQ(driver->deviceSettingAlias(), "S");
    EXPECT_EQ(driver->eventAliasKeyName(), "A1");
    EXPECT_EQ(driver->duplexPaperMinSize(), "1x2");
    EXPECT_EQ(driver->duplexPaperMaxSize(), "3x4");

    driver->setDeviceInfo(std::nullopt);
    EXPECT_TRUE(driver->deviceInfo().empty());
    EXPECT_EQ(driver->eventAliasKeyName(), "A1") << "no device leaves the capability entries";

    driver->setDeviceInfo(Dictionary{{"DeviceInfoModelID", 0}});
    EXPECT_EQ(driver->driverType(), 2);
    EXPECT_FALSE(driver->isDependency()) << "only the exact text counts";
    EXPECT_EQ(driver->deviceSettingAlias(), std::nullopt);
    EXPECT_EQ(driver->eventAliasKeyName(), std::nullopt);
}

TEST_F(TrScannerDriverInformationTest, EventKindsFollowTypeAndButtons) {
    const struct {
        const char* type;
        const char* buttons;
        std::int32_t kinds;
    } cases[] = {
        {"1", "4", 0x4000}, {"2", "3", 0x8000}, {"2", "4", 0x8001}, {"6", "4", 0x10000}, {"6", "3", 0x1000},
        {"0", "3", 0x1001}, {"0", "4", 0x1000}, {"3", "4", 0x1000}, {"7", "1", 0x1001},  {"-1", "3", 0x1000},
    };
    std::string file;
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        char section[16];
        std::snprintf(section, sizeof section, "[Model%04X]\n", static_cast<unsigned>(i + 1));
        file += section + std::string("JobDeviceType=") + cases[i].type +
                "\nNumJobEvents=" + cases[i].buttons + "\n";
    }
    writeFile(paths::scannerCapabilityFile(), file);
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        const auto driver = driverWithDeviceInfo({{"DeviceInfoModelID", static_cast<int>(i + 1)}});
        EXPECT_EQ(driver->supportEventType(), cases[i].kinds) << cases[i].type << ", " << cases[i].buttons;
    }
}

TEST_F(TrScannerDriverInformationTest, UnusableDeviceEntriesCountAsMissing) {
    const auto driver = driverWithDeviceInfo({{"DeviceInfoEnableADF", 1},
                                              {"DeviceInfoEnableDuplex", Dictionary{}},
                                              {"DeviceInfoXdpiMin", Data{1}},
                                              {"DeviceInfoYdpiMax", "600"}});
    EXPECT_TRUE(driver->isADFSupport());
    EXPECT_FALSE(driver->isDuplexSupport());
    EXPECT_FALSE(driver->isFlatSupport());
    EXPECT_EQ(driver->xDPIMinimum(), std::nullopt);
    EXPECT_EQ(driver->yDPIMaximum(), 600);
}

} // namespace trigora::test
