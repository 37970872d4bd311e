#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <vector>

/// What the button service and the program that reads a scanner say to each other, one packet each.
///
/// The reader is started with its task as arguments and its standard input as the channel:
///
///     look NODES [DEVICE…]                               tells of all local scanners, but opens none of
///     these hold NODES DEVICE MILLISECONDS once|twice OPTION…  opens the scanner and reads the options
///
/// NODES is the folder of the USB nodes. It answers with these and ends. The only thing that the service says
/// is `letGo`; the channel's end means the same.
namespace trigora::buttons {

struct ReaderMessage {
    enum class Kind : std::uint8_t {
        letGo = 1, ///< to the reader: close the scanner
        opening,   ///< DEVICE: what hangs or dies from here on is this one's
        scanner,   ///< DEVICE VENDOR MODEL NODE REFUSAL, then NAME TITLE for each option that may be a button
        looked,    ///< all scanners have been told
        opened,    ///< the scanner is open; NODE, empty when it is not known
        reading,   ///< a value per option, as in `SensorReading`, each after "=", empty without a value
        refused,   ///< REFUSAL, and in words why
        closed,    ///< the scanner is free again
    };

    Kind kind = Kind::letGo;
    std::vector<std::string> fields;

    bool operator==(const ReaderMessage&) const = default;
};

/// Why a scanner could not be opened or read, or none found.
enum class Refusal {
    busy,         ///< in use
    accessDenied, ///< the user may not
    failed,
    noSane, ///< SANE itself cannot be started
};

/// Larger packets are not sent; what is left out is the end of the last fields.
constexpr std::size_t largestReaderMessage = 32768;

std::vector<std::uint8_t> encodeReaderMessage(const ReaderMessage& message);
/// None for what is not one whole message.
std::optional<ReaderMessage> decodeReaderMessage(std::span<const std::uint8_t> bytes);

/// "busy", "denied", "failed" or "no SANE".
std::string nameOf(Refusal refusal);
/// `failed` for any other name.
Refusal refusalNamed(const std::string& name);

} // namespace trigora::buttons
