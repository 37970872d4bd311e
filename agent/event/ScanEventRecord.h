#pragma once

#include "platform/AppleEvents.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace trigora {

/// The ID of the Apple Event that a scanner driver sends when a button is pressed; its class is
/// `platform::productEventClass`, its direct parameter the record below.
constexpr std::uint32_t scanButtonEventID = platform::fourCharCode("OPtw");
/// The longest driver or model name that the record holds, in bytes.
constexpr std::size_t longestScannerName = 32;

/// The direct parameter of the scan-button Apple Event as a scanner driver sends it, byte for byte. Numbers
/// are big-endian; a name has as many bytes as its length says.
struct ScanEventRecord {
    std::array<std::uint8_t, 4> initiator;
    std::uint8_t modelNameLength;
    std::array<std::uint8_t, longestScannerName> modelName;
    std::uint8_t driverNameLength;
    std::array<std::uint8_t, longestScannerName> driverName;
    std::array<std::uint8_t, 2> padding;
    std::array<std::uint8_t, 4> eventStatus;
};

static_assert(sizeof(ScanEventRecord) == 76);
static_assert(offsetof(ScanEventRecord, initiator) == 0);
static_assert(offsetof(ScanEventRecord, modelNameLength) == 4);
static_assert(offsetof(ScanEventRecord, modelName) == 5);
static_assert(offsetof(ScanEventRecord, driverNameLength) == 37);
static_assert(offsetof(ScanEventRecord, driverName) == 38);
static_assert(offsetof(ScanEventRecord, padding) == 70);
static_assert(offsetof(ScanEventRecord, eventStatus) == 72);

/// What the record says.
struct ScanEvent {
    std::uint32_t initiator = 0;
    std::optional<std::string> modelName;  ///< none when empty or not UTF-8
    std::optional<std::string> driverName; ///< none when empty or not UTF-8
    std::uint32_t eventStatus = 0;         ///< the button's number, possibly with feature bits
};

/// None when the bytes are too few for a record; bytes after it are ignored. A length beyond the 32 bytes of
/// its field counts as 32, and a name ends at its first zero byte.
std::optional<ScanEvent> decodeScanEvent(const Data& bytes);

/// The 76 bytes of a record. A name that is longer than its field is cut behind its last whole character.
Data encodeScanEvent(const ScanEvent& event);
/// The Apple Event that a scanner driver sends for it.
platform::AppleEvent scanButtonEvent(const ScanEvent& event);

} // namespace trigora
