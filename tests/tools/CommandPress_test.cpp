#include "tools/CommandPress.h"

#include "platform/Text.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace trigora::tools {
namespace {

using platform::fourCharCode;

std::string hexadecimal(const Data& bytes) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (const std::uint8_t byte : bytes) {
        text += digits[byte >> 4U];
        text += digits[byte & 0xFU];
    }
    return text;
}

std::string zeros(std::size_t bytes) { return std::string(bytes * 2, '0'); }

TEST(PressTest, SendsTheRecordThatAScannerDriverSends) {
    const platform::AppleEvent event = scanButtonEvent("Scanner A", "XY-1", 0x01020313);
    EXPECT_EQ(event.eventClass, fourCharCode("PLsc"));
    EXPECT_EQ(event.eventID, fourCharCode("OPtw"));
    ASSERT_EQ(event.parameters.size(), 1U);
    EXPECT_EQ(event.parameters[0].keyword, fourCharCode("----"));
    EXPECT_EQ(event.parameters[0].type, fourCharCode("****"));
    EXPECT_EQ(hexadecimal(event.parameters[0].bytes), "00000000" // initiator
                                                      "0458592d31" +
                                                          zeros(28) +                          // model name
                                                          "095363616e6e65722041" + zeros(23) + // driver name
                                                          "0000" + "01020313");
}

TEST(PressTest, NamesFillTheirFieldsAndNoMore) {
    const std::string longName(40, 'a');
    const platform::AppleEvent event = scanButtonEvent(longName, "", 1);
    const Data& bytes = event.parameters.at(0).bytes;
    ASSERT_EQ(bytes.size(), 76U);
    EXPECT_EQ(bytes[4], 0);
    EXPECT_EQ(bytes[37], 32);
    EXPECT_EQ(bytes[69], 'a');
    EXPECT_EQ(bytes[70], 0);
}

} // namespace
} // namespace trigora::tools
