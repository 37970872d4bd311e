#include "agent/event/UsbScannerEvent.h"

#include <array>
#include <bit>
#include <cstring>

namespace trigora {

namespace {

constexpr std::uint32_t keyProductID = platform::fourCharCode("UsId"); ///< in the host's byte order
constexpr std::uint32_t typeInteger = platform::fourCharCode("long");

} // namespace

platform::AppleEvent usbScannerEvent(std::uint32_t productID) {
    const auto bytes = std::bit_cast<std::array<std::uint8_t, sizeof productID>>(productID);
    return {platform::productEventClass,
            usbScannerEventID,
            {{keyProductID, typeInteger, Data(bytes.begin(), bytes.end())}}};
}

std::optional<std::uint32_t> productIDOfUsbScanner(const platform::AppleEvent& event) {
    const platform::AppleEventParameter* parameter = event.parameter(keyProductID);
    std::uint32_t productID = 0;
    if (parameter == nullptr || parameter->bytes.size() != sizeof productID) {
        return std::nullopt;
    }
    std::memcpy(&productID, parameter->bytes.data(), sizeof productID);
    return productID;
}

} // namespace trigora
