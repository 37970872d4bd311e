#include "agent/event/UsbScannerEvent.h"

#include <array>
#include <bit>
#include <cstring>

namespace trigora {

namespace {

constexpr std::uint32_t keyProductID = platform::fourCharCode("UsId"); ///< in the host's byte order
constexpr std::uint32_t typeInteger = platform::fourCharCode("long");

/// Senders write product IDs in whatever integer they have, also in a signed one that is too small: no bit of
/// it is a sign.
std::optional<std::uint32_t> productIDIn(const Data& bytes) {
    const std::size_t size = bytes.size();
    if (size != 1 && size != 2 && size != 4 && size != 8) {
        return std::nullopt;
    }
    std::uint64_t number = 0;
    std::memcpy(&number, bytes.data(), size);
    return number <= UINT32_MAX ? std::optional(static_cast<std::uint32_t>(number)) : std::nullopt;
}

} // namespace

platform::AppleEvent usbScannerEvent(std::uint32_t productID) {
    const auto bytes = std::bit_cast<std::array<std::uint8_t, sizeof productID>>(productID);
    return {platform::productEventClass,
            usbScannerEventID,
            {{keyProductID, typeInteger, Data(bytes.begin(), bytes.end())}}};
}

std::optional<std::uint32_t> productIDOfUsbScanner(const platform::AppleEvent& event) {
    const platform::AppleEventParameter* parameter = event.parameter(keyProductID);
    return parameter == nullptr ? std::nullopt : productIDIn(parameter->bytes);
}

} // namespace trigora
