#pragma once

#include "platform/Value.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace trigora {

/// The direct parameter of the scan-button Apple Event as a scanner driver sends it, byte for byte. Numbers
/// are big-endian; a name has as many bytes as its length says.
struct ScanEventRecord {
    std::array<std::uint8_t, 4> initiator;
    std::uint8_t modelNameLength;
    std::array<std::uint8_t, 32> modelName;
    std::uint8_t driverNameLength;
    std::array<std::uint8_t, 32> driverName;
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

} // namespace trigora
