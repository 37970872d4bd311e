#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <string>

namespace trigora::platform {

/// Memory that a 32-bit address field of a record can refer to, and safe reading of what such a field
/// refers to. Any thread.
class LowMemory {
public:
    virtual ~LowMemory() = default;

    /// Zeroed memory below 4 GiB, freed with the last holder; null when there is none.
    virtual std::shared_ptr<void> allocate(std::size_t size) = 0;
    /// The address of something that, when called, calls the function; 0 when there can be none. It lives
    /// as long as the process.
    virtual std::uint32_t addressOfFunction(void (*function)()) = 0;
    /// The bytes from the address up to a NUL, or up to the limit when there is none before it. None for
    /// the address 0 and when the memory cannot be read: a wrong address is no crash.
    virtual std::optional<std::string> textAt(std::uint32_t address, std::size_t limit) = 0;
    /// Whether that many bytes from the address on can be read; nothing at the address 0 can.
    virtual bool isReadable(std::uint32_t address, std::size_t size) = 0;
};

} // namespace trigora::platform
