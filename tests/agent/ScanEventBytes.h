#pragma once

#include "platform/AppleEvents.h"
#include "platform/Text.h"

#include <algorithm>
#include <string>

namespace trigora::test {

/// A scan-button record as a scanner driver sends it. Names are cut to their fields; a length other than the
/// name's own may be claimed for the model's.
inline Data scanEventBytes(const std::string& model, const std::string& driver, std::uint32_t status,
                           int modelLength = -1) {
    Data bytes(76);
    const auto put = [&](std::size_t offset, const std::string& name, int length) {
        const std::size_t count = std::min<std::size_t>(name.size(), 32);
        bytes[offset] = static_cast<std::uint8_t>(length < 0 ? static_cast<int>(count) : length);
        std::copy_n(name.begin(), count, bytes.begin() + static_cast<std::ptrdiff_t>(offset + 1));
    };
    bytes[3] = 9; // initiator
    put(4, model, modelLength);
    put(37, driver, -1);
    for (std::size_t i = 0; i < 4; ++i) {
        bytes[72 + i] = static_cast<std::uint8_t>(status >> (24 - 8 * i));
    }
    return bytes;
}

/// The scan-button event around a record.
inline platform::AppleEvent scanButtonEvent(Data record) {
    return {platform::fourCharCode("PLsc"),
            platform::fourCharCode("OPtw"),
            {{platform::fourCharCode("----"), platform::fourCharCode("****"), std::move(record)}}};
}

} // namespace trigora::test
