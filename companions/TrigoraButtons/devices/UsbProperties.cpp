#include "companions/TrigoraButtons/devices/UsbProperties.h"

#include "platform/Text.h"

#include <algorithm>
#include <array>
#include <string>

namespace trigora::buttons {

bool mayBeScanner(bool isMarkedBySane, std::string_view interfaces) {
    // Sound, telephony, input devices, disks, hubs, card readers, cameras for films, Bluetooth.
    static constexpr std::array<std::string_view, 9> others{"01", "02", "03", "08", "09",
                                                            "0a", "0b", "0e", "e0"};
    if (isMarkedBySane) {
        return true;
    }
    bool isAnyKnown = false;
    for (const std::string& interface : platform::componentsSeparatedByString(interfaces, ":")) {
        if (!interface.empty()) {
            isAnyKnown = true;
            if (std::ranges::find(others, interface.substr(0, 2)) == others.end()) {
                return true;
            }
        }
    }
    return !isAnyKnown;
}

} // namespace trigora::buttons
