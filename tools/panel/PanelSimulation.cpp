#include "tools/panel/PanelSimulation.h"

#include "simulators/simulation/LocalSocket.h"
#include "simulators/simulation/Simulation.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <string_view>

namespace trigora::tools {

namespace {

// A scanner that announces itself may have to wait for another application to start.
constexpr std::chrono::minutes answerTimeOut{2};
constexpr std::int64_t mostJournal = std::int64_t{64} << 20;
constexpr std::array<std::string_view, 3> listCalls{"PDSendJobData", "PDSendJobData2", "PDCreateJobData2"};

} // namespace

std::optional<PanelSimulation> PanelSimulation::open(Connection connection, const std::string& givenFolder) {
    const std::optional<std::string> folder =
        givenFolder.empty() ? simulators::simulationFolder() : std::optional(givenFolder);
    return folder ? std::optional(PanelSimulation(*folder, connection)) : std::nullopt;
}

std::optional<PanelSimulation::json> PanelSimulation::send(const json& command, std::string& error) const {
    const bool isUsb = connection_ == Connection::usb;
    const simulators::Socket socket = simulators::connectIn(folder_, isUsb ? "usbscan.sock" : "netscan.sock");
    if (!socket.isOpen()) {
        error = "no simulated " + std::string(isUsb ? "USB" : "network") + " panel answers in " + folder_ +
                ": the agent must run with TRIGORA_SIMULATORS set to that folder and with the simulated "
                "modules installed" +
                (isUsb ? ", and be told of the scanner by \"panel connect --usb\"" : "");
        return std::nullopt;
    }
    const bool isSent =
        simulators::writeLine(socket, command.dump(-1, ' ', false, json::error_handler_t::replace));
    const std::optional<std::string> line =
        isSent ? simulators::readLine(socket, answerTimeOut, -1) : std::nullopt;
    json answer = line ? json::parse(*line, nullptr, false) : json();
    if (!answer.is_object()) {
        error = "the simulated panel gave no answer";
        return std::nullopt;
    }
    if (const auto problem = simulators::textAt(answer, "error")) {
        error = "the simulated panel refused: " + *problem;
        return std::nullopt;
    }
    return answer;
}

std::int64_t PanelSimulation::journalEnd() const {
    std::error_code error;
    const std::uintmax_t size = std::filesystem::file_size(journalPath(), error);
    return error ? 0 : static_cast<std::int64_t>(size);
}

std::vector<PanelSimulation::json> PanelSimulation::callsSince(std::int64_t place) const {
    std::error_code error;
    std::vector<json> calls;
    if (!std::filesystem::is_regular_file(journalPath(), error)) {
        return calls;
    }
    std::ifstream journal(journalPath());
    journal.seekg(std::max(place, journalEnd() - mostJournal));
    for (std::string line; std::getline(journal, line);) {
        json call = json::parse(line, nullptr, false);
        if (call.is_object()) { // else a line that is being written, or the rest of one that was cut
            calls.push_back(std::move(call));
        }
    }
    return calls;
}

std::optional<PanelSimulation::json> PanelSimulation::lastListSince(std::int64_t place) const {
    const std::vector<json> calls = callsSince(place);
    const auto isList = [](const json& call) {
        const std::string name = simulators::textAt(call, "call").value_or("");
        return std::ranges::find(listCalls, name) != listCalls.end() && call.contains("entries") &&
               call["entries"].is_array();
    };
    const auto found = std::find_if(calls.rbegin(), calls.rend(), isList);
    return found == calls.rend() ? std::nullopt : std::optional(*found);
}

} // namespace trigora::tools
