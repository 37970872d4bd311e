// Formats, which come out of localized string tables, with arguments of every kind.
//
// Input: an integer and a real (8 bytes each), a text, then the format, with a byte 0x1E in between.

#include "agent/log/PSlog.h"
#include "fuzz/FuzzInput.h"
#include "platform/Text.h"

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    using namespace trigora;
    fuzz::FuzzInput input(bytes, size);
    const auto integer = input.number<std::int64_t>();
    const auto real = input.number<double>();
    const std::string text = input.part();
    const std::string format = input.part();
    const std::array<LogArgument, 4> arguments{integer, text, real, static_cast<std::int32_t>(integer)};
    const std::string filled = stringWithFormat(format, std::span<const LogArgument>(arguments));
    // A conversion of two characters can become a whole argument, and no width or precision exceeds 255.
    fuzz::require(filled.size() <= format.size() * (text.size() + 1024), "a format does not explode");
    fuzz::require(stringWithFormat(format, std::span<const LogArgument>()) ==
                      platform::replacingOccurrences(format, "%%", "%"),
                  "what has no argument stands as it is");
    return 0;
}
