#include "runners/actions/LaunchRecord.h"

#include "platform/Text.h"

#include <algorithm>
#include <cstring>
#include <string_view>

namespace trigora {

namespace {

/// The low 32 bits, so that a signature keeps its bytes.
std::int32_t numberAt(const Dictionary& data, std::string_view key, std::int64_t offset = 0) {
    const std::int64_t number = platform::integerAt(data, key).value_or(0);
    return static_cast<std::int32_t>(
        static_cast<std::uint32_t>(static_cast<std::uint64_t>(number) + static_cast<std::uint64_t>(offset)));
}

void putDriverName(LaunchRecord& record, std::string_view name) {
    // A name that is too long counts as 32 bytes while 33 of its bytes are sent; the receivers know it so.
    constexpr std::size_t longNameLength = 32;
    const std::size_t capacity = record.driverName.size();
    record.driverNameLength =
        static_cast<std::uint8_t>(name.size() > capacity ? longNameLength : name.size());
    std::copy_n(name.begin(), std::min(name.size(), capacity), record.driverName.begin());
}

} // namespace

LaunchRecord launchRecord(const Dictionary& scanAssistantData) {
    constexpr std::int64_t firstEventNumber = 100;
    LaunchRecord record;
    record.recordCode = platform::fourCharCode("SnTr");
    record.versionCode = platform::fourCharCode("tTr1");
    record.responderSignature = numberAt(scanAssistantData, "ResponderSignature");
    record.nextAssistantCreator = numberAt(scanAssistantData, "NextAssistCreator");
    record.eventNumber = numberAt(scanAssistantData, "EventID", -firstEventNumber);
    record.projectID = numberAt(scanAssistantData, "ProjectID");
    if (const auto name = platform::textAt(scanAssistantData, "driverName")) {
        putDriverName(record, *name);
    }
    return record;
}

Data bytesOf(const LaunchRecord& record) {
    Data bytes(sizeof record);
    std::memcpy(bytes.data(), &record, sizeof record);
    return bytes;
}

} // namespace trigora
