#include "agent/event/ScanEventRecord.h"
#include "tests/agent/ScanEventBytes.h"
#include "tests/fakes/PlatformTest.h"

namespace trigora {
namespace {

using ScanEventRecordTest = test::PlatformTest;
using test::scanEventBytes;

TEST_F(ScanEventRecordTest, HasTheGoldenBytes) {
    Data bytes{0x01, 0x02, 0x03, 0x04, 4, 'X', 'Y', '-', '1'};
    bytes.resize(37);
    bytes.insert(bytes.end(), {2, 'D', '1'});
    bytes.resize(72);
    bytes.insert(bytes.end(), {0x80, 0x00, 0x00, 0x13});
    ASSERT_EQ(bytes.size(), 76U);
    EXPECT_EQ(encodeScanEvent({0x01020304, "XY-1", "D1", 0x80000013}), bytes);
    bytes[70] = bytes[71] = 0xEE; // the padding says nothing
    const auto event = decodeScanEvent(bytes);
    ASSERT_TRUE(event);
    EXPECT_EQ(event->initiator, 0x01020304U);
    EXPECT_EQ(event->modelName, "XY-1");
    EXPECT_EQ(event->driverName, "D1");
    EXPECT_EQ(event->eventStatus, 0x80000013U);
}

TEST_F(ScanEventRecordTest, BelievesNoLength) {
    const std::string full(32, 'm');
    const std::optional<std::string> none;
    struct Case {
        const char* what;
        std::string model;
        int length;
        std::optional<std::string> expected;
    };
    const Case cases[] = {
        {"empty", "XY", 0, none},
        {"shorter than the bytes", "XY-1", 2, "XY"},
        {"longer than the bytes", "XY", 9, "XY"},
        {"the whole field", full, 32, full},
        {"beyond the field", full, 33, full},
        {"far beyond the record", full, 255, full},
        {"zero inside", std::string("X\0Y", 3), 3, "X"},
        {"only zeros", "", 5, ""},
        {"broken UTF-8", "X\xC3", 2, none},
        {"cut inside a character", "X\xC3\xA9", 2, none},
        {"a whole character", "X\xC3\xA9", 3, "X\xC3\xA9"},
    };
    for (const Case& c : cases) {
        // The driver's name, right behind, shows what is read past the field.
        const auto event = decodeScanEvent(scanEventBytes(c.model, "driver", 1, c.length));
        ASSERT_TRUE(event) << c.what;
        EXPECT_EQ(event->modelName, c.expected) << c.what;
        EXPECT_EQ(event->driverName, "driver") << c.what;
    }
}

TEST_F(ScanEventRecordTest, CutsNamesToTheirFieldsAndNoCharacterInTwo) {
    const platform::AppleEvent event = scanButtonEvent({.modelName = std::string(31, 'm') + "\xC3\xA9",
                                                        .driverName = std::string(40, 'd'),
                                                        .eventStatus = 1});
    EXPECT_EQ(event.eventClass, platform::fourCharCode("PLsc"));
    EXPECT_EQ(event.eventID, platform::fourCharCode("OPtw"));
    ASSERT_EQ(event.parameters.size(), 1U);
    EXPECT_EQ(event.parameters[0].keyword, platform::fourCharCode("----"));
    EXPECT_EQ(event.parameters[0].type, platform::fourCharCode("****"));
    const auto decoded = decodeScanEvent(event.parameters[0].bytes);
    ASSERT_TRUE(decoded);
    EXPECT_EQ(decoded->modelName, std::string(31, 'm'));
    EXPECT_EQ(decoded->driverName, std::string(32, 'd'));
    EXPECT_EQ(decoded->eventStatus, 1U);
}

TEST_F(ScanEventRecordTest, TakesWholeRecordsOnly) {
    Data bytes = scanEventBytes("XY-1", "D1", 7);
    bytes.push_back(0xFF);
    EXPECT_EQ(decodeScanEvent(bytes)->eventStatus, 7U);
    bytes.resize(75);
    EXPECT_FALSE(decodeScanEvent(bytes));
    EXPECT_FALSE(decodeScanEvent({}));
}

} // namespace
} // namespace trigora
