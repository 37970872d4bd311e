#include "agent/service/ScanEventRecord.h"

#include "files/StringHelpers.h"

#include <algorithm>
#include <cstring>

namespace trigora {

namespace {

std::uint32_t bigEndian(const std::array<std::uint8_t, 4>& bytes) {
    return (std::uint32_t{bytes[0]} << 24) | (std::uint32_t{bytes[1]} << 16) |
           (std::uint32_t{bytes[2]} << 8) | std::uint32_t{bytes[3]};
}

std::optional<std::string> nameIn(const std::array<std::uint8_t, 32>& field, std::uint8_t length) {
    const auto count = static_cast<std::ptrdiff_t>(std::min<std::size_t>(length, field.size()));
    const std::string bytes(field.begin(), field.begin() + count);
    return exStringWithCString(bytes.data(), bytes.size(), platform::Encoding::utf8);
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

} // namespace trigora
