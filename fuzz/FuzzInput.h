#pragma once

#include "platform/Value.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>

namespace trigora::fuzz {

/// The bytes of an input, taken one after the other. Behind the end there are zeros and nothing.
class FuzzInput {
public:
    FuzzInput(const std::uint8_t* bytes, std::size_t size) : next_(bytes), end_(bytes + size) {}

    bool isAtEnd() const { return next_ == end_; }
    std::uint8_t byte() { return isAtEnd() ? std::uint8_t{0} : *next_++; }
    /// Little-endian.
    template <typename Number> Number number() {
        Number value{};
        const Data taken = bytes(sizeof value);
        std::copy(taken.begin(), taken.end(), reinterpret_cast<std::uint8_t*>(&value));
        return value;
    }
    Data bytes(std::size_t most) {
        const std::uint8_t* first = next_;
        next_ += std::min(most, static_cast<std::size_t>(end_ - next_));
        return Data(first, next_);
    }
    std::string text(std::size_t most) { return textOf(bytes(most)); }
    /// Up to the next byte 0x1E, which is dropped. Inputs of several texts stay readable this way.
    std::string part() {
        const std::uint8_t* mark = std::find(next_, end_, std::uint8_t{0x1E});
        std::string text = textOf(Data(next_, mark));
        next_ = mark == end_ ? end_ : mark + 1;
        return text;
    }

private:
    static std::string textOf(const Data& bytes) { return {bytes.begin(), bytes.end()}; }

    const std::uint8_t* next_;
    const std::uint8_t* end_;
};

/// Ends the program with a message when what must hold for every input does not.
void require(bool condition, const char* what);

} // namespace trigora::fuzz

/// What every target defines; always 0.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size);
