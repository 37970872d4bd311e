#pragma once

#include "platform/Value.h"

#include <cstdint>

namespace trigora {

/// What a scanner's button or panel has asked for. It is taken from the service manager once and handed on: a
/// later press may take its place there at any moment.
struct ScanPress {
    std::uint64_t serial = 0; ///< tells it from every other one; 0 when there is no press
    /// "initiator" and "eventStatus" (integers), "modelName", "driverName" and "IPAddress" (texts, each only
    /// if known).
    Dictionary event;
};

} // namespace trigora
