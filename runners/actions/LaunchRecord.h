#pragma once

#include "platform/Value.h"

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace trigora {

/// What an assistant is told when it is launched, as the bytes that it receives: 368 of them, little-endian,
/// zero where nothing is said. Codes are four-character codes.
struct LaunchRecord {
    std::uint32_t recordCode = 0;  ///< 'SnTr'
    std::uint32_t versionCode = 0; ///< 'tTr1'
    std::int32_t responderSignature = 0;
    std::int32_t nextAssistantCreator = 0;
    std::array<std::uint8_t, 72> reserved1{};
    std::int32_t eventNumber = 0; ///< the event identifier less 100
    std::int32_t projectID = 0;
    std::uint8_t driverNameLength = 0;
    std::array<std::uint8_t, 33> driverName{}; ///< UTF-8, not terminated
    std::array<std::uint8_t, 238> reserved2{};
};

static_assert(std::endian::native == std::endian::little, "the record is sent as it lies in memory");
static_assert(std::is_trivially_copyable_v<LaunchRecord> && std::is_standard_layout_v<LaunchRecord>);
static_assert(sizeof(LaunchRecord) == 368);
static_assert(offsetof(LaunchRecord, recordCode) == 0);
static_assert(offsetof(LaunchRecord, versionCode) == 4);
static_assert(offsetof(LaunchRecord, responderSignature) == 8);
static_assert(offsetof(LaunchRecord, nextAssistantCreator) == 12);
static_assert(offsetof(LaunchRecord, reserved1) == 16);
static_assert(offsetof(LaunchRecord, eventNumber) == 88);
static_assert(offsetof(LaunchRecord, projectID) == 92);
static_assert(offsetof(LaunchRecord, driverNameLength) == 96);
static_assert(offsetof(LaunchRecord, driverName) == 97);
static_assert(offsetof(LaunchRecord, reserved2) == 130);

/// The record for a scan assistant data dictionary; entries that are missing or unusable count as 0.
LaunchRecord launchRecord(const Dictionary& scanAssistantData);
/// The bytes to send.
Data bytesOf(const LaunchRecord& record);

} // namespace trigora
