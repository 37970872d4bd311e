#pragma once

#include <cstdint>

/// The kinds of events, a bit each: of an event its own, of a device those that it offers.
namespace trigora::event_kinds {

constexpr std::int32_t button = 0x1000;
constexpr std::int32_t folder = 0x2000;
constexpr std::int32_t job = 0x4000;
constexpr std::int32_t fourth = 0x8000;
constexpr std::int32_t fifth = 0x10000;
/// Beside the kind, for a device without a fixed set of buttons.
constexpr std::int32_t anyButtons = 1;

} // namespace trigora::event_kinds
