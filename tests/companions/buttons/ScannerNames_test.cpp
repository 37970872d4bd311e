#include "companions/TrigoraButtons/policy/ScannerNames.h"
#include "files/InstalledPaths.h"
#include "tests/fakes/PlatformTest.h"

namespace trigora::buttons {
namespace {

FoundScanner scanner(const std::string& device, const std::string& vendor, const std::string& model) {
    return {.device = device, .vendor = vendor, .model = model, .node = {}, .refusal = {}, .sensors = {}};
}

class ScannerNamesTest : public test::PlatformTest {};

TEST_F(ScannerNamesTest, AreThoseThatTheScanAssistantFindsTheScannerBy) {
    const FoundScanner flat = scanner("genesys:libusb:001:004", "Pelox", "Flat 10");
    const FoundScanner twin = scanner("genesys:libusb:001:005", "Pelox", "Flat 10");
    const FoundScanner longName =
        scanner("x:" + std::string(40, 'd'), "Manufacturer with a name", "Model with a name");
    const FoundScanner accents = scanner("x:" + std::string(40, 'd'), "", std::string(30, 'm') + "éé");
    struct Case {
        const char* what;
        const char* own;
        const char* installed;
        FoundScanner scanner;
        std::vector<FoundScanner> others;
        const char* driver;
        std::uint32_t modelID;
        bool hasEntry;
    };
    const Case cases[] = {
        {"no entry", "", "", flat, {}, "Pelox Flat 10", 0, false},
        {"an entry of its name",
         "",
         "[Pelox Flat 10]\nModelID=0F01\n",
         flat,
         {},
         "Pelox Flat 10",
         0xF01,
         true},
        {"in other letters", "", "[PELOX flat 10]\nModelID=0F01\n", flat, {}, "PELOX flat 10", 0xF01, true},
        {"an entry for its device",
         "[Desk]\nDevice=genesys:libusb:001:004\nModelID=0F02\n",
         "[Pelox Flat 10]\nModelID=0F01\n",
         flat,
         {},
         "Desk",
         0xF02,
         true},
        {"the user's model of an installed driver",
         "[Pelox Flat 10]\nModelID=0F03\n",
         "[Pelox Flat 10]\nModelID=0F01\n",
         flat,
         {},
         "Pelox Flat 10",
         0xF03,
         true},
        {"an entry for the address it had before",
         "[Desk]\nDevice=genesys:libusb:001:009\n",
         "",
         flat,
         {},
         "Desk",
         0,
         true},
        {"the same with two alike",
         "[Desk]\nDevice=genesys:libusb:001:009\n",
         "",
         flat,
         {twin},
         "genesys:libusb:001:004",
         0,
         false},
        {"two alike", "", "", flat, {twin}, "genesys:libusb:001:004", 0, false},
        {"two alike, one entry", "", "[Pelox Flat 10]\n", twin, {flat}, "genesys:libusb:001:005", 0, false},
        {"too long a name", "", "", longName, {}, "Model with a name", 0, false},
        {"no name short enough", "", "", accents, {}, " mmmmmmmmmmmmmmmmmmmmmmmmmmmmmm", 0, false},
        {"an entry with too long a name",
         "[nnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnn]\nDevice=genesys:libusb:001:004\n",
         "",
         flat,
         {},
         "Pelox Flat 10",
         0,
         false},
    };
    for (const Case& c : cases) {
        writeFile(paths::userScannerDriversFile(), c.own);
        writeFile(paths::scannerDriversFile(), c.installed);
        std::vector<FoundScanner> attached = c.others;
        attached.push_back(c.scanner);
        const ScannerNames names = namesOf(c.scanner, attached);
        EXPECT_EQ(names.driverName, c.driver) << c.what;
        EXPECT_EQ(names.modelID, c.modelID) << c.what;
        EXPECT_EQ(names.hasDriverEntry, c.hasEntry) << c.what;
    }
}

} // namespace
} // namespace trigora::buttons
