#pragma once

#include "modules/trigora_memory.h"

#include <cstring>
#include <string>
#include <utility>

namespace trigora::simulators {

/// Memory that records can refer to, for as long as this object lives.
class LowBlock {
public:
    explicit LowBlock(std::size_t size) : size_(size), memory_(trigora_low_alloc(size)) {}
    LowBlock(LowBlock&& other) noexcept
        : size_(other.size_), memory_(std::exchange(other.memory_, nullptr)) {}
    LowBlock(const LowBlock&) = delete;
    LowBlock& operator=(const LowBlock&) = delete;
    LowBlock& operator=(LowBlock&&) = delete;
    ~LowBlock() { trigora_low_free(memory_, size_); }

    /// Null when there was no memory.
    std::uint8_t* bytes() const { return static_cast<std::uint8_t*>(memory_); }
    std::size_t size() const { return size_; }

private:
    std::size_t size_;
    void* memory_;
};

} // namespace trigora::simulators
