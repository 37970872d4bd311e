#pragma once

#include "modules/network_scan.h"
#include "modules/panel_driver.h"
#include "simulators/simulation/Simulation.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

/// What a command of the channel says happened at a panel, and the records made from it. A command is an
/// object with "command" (a name of `panelEventNamed`) and these keys, each with a default:
///
///     productID, model, ip, hardware, version   texts
///     jobIndex, capabilities, timeout, protocolVersion, button, pid   numbers
///     choices                 object as in `choicesOf`
///     jobData                 hexadecimal text: what a USB panel sends in place of the encoded choices;
///     empty:
///                             nothing
///     kind, commandCode       numbers that are sent instead of those that the name stands for
///     withoutRecord           true: the call-back gets no record
///     threads, times          how many threads call back at once (64 at most), and how often each (1000)
namespace trigora::simulators {

/// The kind of an event, and the panel's command where it has one.
struct PanelEvent {
    std::int32_t kind = 0;
    std::int32_t command = 0;
};

/// "scan", "list", "start", "continue", "complete", "cancel", "keep-alive", "end", or "event" for one that is
/// given in numbers; none for another name.
std::optional<PanelEvent> panelEventOf(const json& command);

/// Calls back as often and on as many threads as the command wants, and returns the results. Returns early
/// when `isStopping` says so.
json callBack(const json& command, const std::function<bool()>& isStopping,
              const std::function<std::int32_t()>& call);

/// Fills the field, which is left without a NUL when the text has no room for one.
template <std::size_t size> void setField(char (&field)[size], const std::string& text) {
    std::fill_n(field, size, '\0');
    std::copy_n(text.begin(), std::min(text.size(), size), field);
}

/// The fields that network and USB records have in common.
template <typename Record> void setJobFields(Record& record, const json& command, const PanelEvent& event) {
    const auto number = [&](const char* key, std::int64_t byDefault) {
        return static_cast<std::int32_t>(integerAt(command, key, byDefault));
    };
    setField(record.hardwareAddress, textAt(command, "hardware").value_or("00265A0B1C2D"));
    record.jobIndex = number("jobIndex", 0);
    record.capabilityFlags = static_cast<std::uint32_t>(
        number("capabilities", PANEL_OFFERS_OFFICE_FORMATS | PANEL_HAS_ERROR_RECOVERY |
                                   PANEL_HAS_CONTINUE_SCANNING | PANEL_HONOURS_PROHIBITS_EDIT));
    record.command = event.command;
    record.timeout = number("timeout", 60);
    record.protocolVersion = number("protocolVersion", 110);
}

constexpr const char* defaultProductID = "PID 0147";
constexpr const char* defaultAddress = "192.168.0.20";

/// Choices made at a panel: "imageType", "resolution", "scanningDevice", "documentSize", "orientation",
/// "saveFormat", "scanToNo", "printNum"; what is missing is 0.
stRecvJobData choicesOf(const json& object);
json describe(const stRecvJobData& choices);

/// The simulated panel's own encoding of choices: "TPJC" and the eight bytes.
std::vector<std::uint8_t> encodedChoices(const stRecvJobData& choices);
/// None for anything else.
std::optional<stRecvJobData> decodeChoices(const void* data, std::size_t size);

} // namespace trigora::simulators
