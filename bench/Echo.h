#pragma once

/// The stand-in's name and method on the bus: it answers with the bytes that it was given.
namespace trigora::bench::echo {

constexpr const char* name = "com.pelox.bench.Echo";
constexpr const char* path = "/com/pelox/bench/Echo";
constexpr const char* interface = "com.pelox.bench.Echo";
constexpr const char* method = "Echo";

} // namespace trigora::bench::echo
