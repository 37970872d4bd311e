#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>

namespace trigora {

/// Size of the buffers that driver names are written into, with the NUL.
constexpr std::size_t driverNameSize = 34;

/// Whether whoever waits is to give up. None waits to the end.
using GivesUp = std::function<bool()>;

/// Finds the name of the driver that serves a scanner, by the maker's ID converter or else by the
/// scan-settings application, which is started for it and waited for: 20 seconds until it answers, and as
/// long as it takes to quit. Whoever gives up leaves it running. Returns 1 when found, -2 when not, 0 when
/// another thread is at it. The destination has `driverNameSize` bytes; a longer name is cut. Any thread.
std::int32_t getDSName(const char* productID, char* destination, const GivesUp& givesUp = {});

/// Asks the running scan-settings application, waiting for it to come up. The destination, of
/// `driverNameSize` bytes, stays as it was when there is no answer. Any thread.
void ConvertFromPID(const char* productID, char* destination, const GivesUp& givesUp = {});

} // namespace trigora
