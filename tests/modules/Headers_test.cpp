#include "tests/modules/HeadersInC.h"

#include "modules/button_manager.h"
#include "modules/job_interface.h"
#include "modules/network_scan.h"
#include "modules/panel_driver.h"
#include "modules/usb_scan.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

namespace {

/// Pieces of a record: bytes in hexadecimal, and runs of zeros by their length.
struct Piece {
    const char* bytes;
    std::size_t zeros;
};

std::string bytesOf(const std::vector<Piece>& pieces) {
    std::string text;
    for (const Piece& piece : pieces) {
        text += piece.bytes + std::string(2 * piece.zeros, '0');
    }
    return text;
}

std::string hexadecimal(const unsigned char* bytes, std::size_t count) {
    constexpr const char* digits = "0123456789abcdef";
    std::string text;
    for (std::size_t i = 0; i < count; ++i) {
        text += digits[bytes[i] >> 4U];
        text += digits[bytes[i] & 0xFU];
    }
    return text;
}

TEST(ModuleHeadersTest, RecordsHaveTheirBytes) {
    const std::vector<std::pair<const char*, std::vector<Piece>>> records{
        {"_NSMDiscovery", {{"01000000020000001413121124232221", 0}, {"34333231", 0}}},
        {"NSMScanRequest", {{"50", 31}, {"4d", 33}, {"49", 33}, {"04030201", 0}}},
        {"_PSMLPANELSCANJOBINFO",
         {{"50", 65},
          {"49", 31},
          {"4142434445464748494a4b4c", 26},
          {"0100000002000000030000000400000006050000", 0}}},
        {"PanelOpenBlock", {{"02000000", 8}, {"312e322e332e34", 57}, {"", 64}, {"44434241", 4}}},
        {"PanelJobHeader", {{"02000000", 0}, {"64696765737464696765737464696765", 0}}},
        {"PanelJobEntry", {{"54535251010203040506070800090a00", 120}}},
        {"stRecvJobData", {{"0102030405060708", 0}}},
        {"UsbPanelScanJobInfo",
         {{"", 98},
          {"4142434445464748494a4b4c", 26},
          {"01000000020000000300000004000000050000006463626106000000", 0}}},
    };
    int number = 0;
    for (const auto& [name, pieces] : records) {
        unsigned char bytes[256] = {};
        const std::size_t size = recordFilledInC(number++, bytes);
        EXPECT_EQ(hexadecimal(bytes, size), bytesOf(pieces)) << name;
    }
    unsigned char bytes[256];
    EXPECT_EQ(recordFilledInC(number, bytes), 0U) << "a record that is not compared";
}

TEST(ModuleHeadersTest, TablesAreTheSameInBothLanguages) {
    EXPECT_TRUE(areTablesPacked());
    EXPECT_EQ(sizeof(SVJobInterfaceClass), sizeof(TrigoraClassHeader) + 15 * sizeof(void*));
    EXPECT_EQ(sizeof(ButtonManagerClass), sizeof(TrigoraClassHeader) + 7 * sizeof(void*));
}

TEST(ModuleHeadersTest, LowMemoryCanBeReferredTo) {
    for (const std::size_t size : {std::size_t{1}, std::size_t{100}, std::size_t{5} << 20}) {
        auto* memory = static_cast<unsigned char*>(trigora_low_alloc(size));
        ASSERT_NE(memory, nullptr) << size;
        EXPECT_EQ(memory[0] + memory[size - 1], 0) << "zeroed";
        EXPECT_TRUE(trigora_fits_address32(memory + size - 1));
        EXPECT_EQ(trigora_pointer(trigora_address32(memory)), memory);
        trigora_low_free(memory, size);
    }
    std::vector<void*> blocks(1000);
    for (void*& block : blocks) {
        ASSERT_NE(block = trigora_low_alloc(1), nullptr) << "many small blocks";
    }
    for (void* block : blocks) {
        trigora_low_free(block, 1);
    }
    EXPECT_EQ(trigora_low_alloc(0), nullptr);
    EXPECT_EQ(trigora_low_alloc(std::size_t{1} << 40U), nullptr);
}

TEST(ModuleHeadersTest, AddressesAreNeverCut) {
    auto* high = reinterpret_cast<void*>(std::uintptr_t{0x100000010});
    EXPECT_FALSE(trigora_fits_address32(high));
    EXPECT_EQ(trigora_address32(high), 0U);
    EXPECT_EQ(trigora_address32(reinterpret_cast<void*>(std::uintptr_t{UINT32_MAX})), UINT32_MAX);
}

} // namespace
