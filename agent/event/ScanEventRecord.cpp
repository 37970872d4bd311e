#include "agent/event/ScanEventRecord.h"

#include "files/StringHelpers.h"
#include "platform/Text.h"

#include <algorithm>
#include <bit>
#include <cstring>

namespace trigora {

namespace {

std::uint32_t bigEndian(const std::array<std::uint8_t, 4>& bytes) {
    return (std::uint32_t{bytes[0]} << 24) | (std::uint32_t{bytes[1]} << 16) |
           (std::uint32_t{bytes[2]} << 8) | std::uint32_t{bytes[3]};
}

std::array<std::uint8_t, 4> bigEndian(std::uint32_t number) {
    return {static_cast<std::uint8_t>(number >> 24U), static_cast<std::uint8_t>(number >> 16U),
            static_cast<std::uint8_t>(number >> 8U), static_cast<std::uint8_t>(number)};
}

using NameField = std::array<std::uint8_t, longestScannerName>;

std::optional<std::string> nameIn(const NameField& field, std::uint8_t length) {
    const auto count = static_cast<std::ptrdiff_t>(std::min<std::size_t>(length, field.size()));
    const std::string bytes(field.begin(), field.begin() + count);
    return exStringWithCString(bytes.data(), bytes.size(), platform::Encoding::utf8);
}

/// Returns the name's length.
std::uint8_t putName(NameField& field, const std::optional<std::string>& name) {
    const std::string_view bytes = name ? platform::utf8Prefix(*name, field.size()) : std::string_view();
    std::ranges::copy(bytes, field.begin());
    return static_cast<std::uint8_t>(bytes.size());
}

} // namespace

std::optional<ScanEvent> decodeScanEvent(const Data& bytes) {
    ScanEventRecord record{};
    if (bytes.size() < sizeof record) {
        return std::nullopt;
    }
    std::memcpy(&record, bytes.data(), sizeof record);
    return ScanEvent{bigEndian(record.initiator), nameIn(record.modelName, record.modelNameLength),
                     nameIn(record.driverName, record.driverNameLength), bigEndian(record.eventStatus)};
}

Data encodeScanEvent(const ScanEvent& event) {
    ScanEventRecord record{};
    record.initiator = bigEndian(event.initiator);
    record.modelNameLength = putName(record.modelName, event.modelName);
    record.driverNameLength = putName(record.driverName, event.driverName);
    record.eventStatus = bigEndian(event.eventStatus);
    const auto bytes = std::bit_cast<std::array<std::uint8_t, sizeof record>>(record);
    return {bytes.begin(), bytes.end()};
}

platform::AppleEvent scanButtonEvent(const ScanEvent& event) {
    return {platform::productEventClass,
            scanButtonEventID,
            {{platform::keyDirectObject, platform::typeWildCard, encodeScanEvent(event)}}};
}

} // namespace trigora
