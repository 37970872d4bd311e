#pragma once

#include "tools/frame/Command.h"
#include "tools/panel/PanelSimulation.h"

#include <cstdint>
#include <optional>
#include <ostream>
#include <string>

namespace trigora::tools {

/// What the agent's answers to the named command mean, each with how often it was given when there are
/// several: "served", or "busy 3 times, done 1 time".
std::string meaningOfResults(const std::string& command, const nlohmann::json& results);

/// A list of jobs from the panel driver's journal as the panel would show it.
void printJobList(const nlohmann::json& list, std::ostream& out);

/// Plays the user of one scanner, and says what came of each step. A step is done when the agent answered 1
/// every time, failed when it did not, unreachable without an agent that has the simulated modules.
class PanelUser {
public:
    struct Options {
        bool isUsb = false;
        bool printsJson = false; ///< the simulators' answers instead of sentences
        std::uint32_t usbProductID = 0;
        nlohmann::json command; ///< what every command to the simulators has
        nlohmann::json choices; ///< what is changed of a picked job, "resolution" and so on
        /// The panel driver is another maker's: what it sends, and what is chosen at its panel, is not seen
        /// here.
        bool hasForeignPanelDriver = false;
    };

    PanelUser(Options options, PanelSimulation simulation, std::ostream& out, std::ostream& err)
        : options_(std::move(options)), simulation_(std::move(simulation)), out_(out), err_(err) {}

    /// The scanner makes itself known: by USB the agent is told, on the network the scanner announces itself.
    ExitCode connect();
    /// Shows the jobs that the panel was sent.
    ExitCode list();
    /// Picks a job by its number in the last list that was sent, and shows what the application was given.
    ExitCode pick(std::int64_t number);
    /// Any other command; the sentence says what it means.
    ExitCode tell(const std::string& command, const std::string& sentence) {
        return tell(command, sentence, options_.command);
    }
    /// From the scanner's announcement to the end of a job; ends at the first step that is not done.
    ExitCode playSession(std::int64_t number);

private:
    ExitCode tell(const std::string& command, const std::string& sentence, nlohmann::json details);
    /// Starts the job with what the command says of it.
    ExitCode start(std::int64_t number, nlohmann::json command);
    ExitCode tellOfUsbScanner();
    ExitCode fail(const std::string& sentence, ExitCode code);

    const Options options_;
    const PanelSimulation simulation_;
    std::ostream& out_;
    std::ostream& err_;
};

} // namespace trigora::tools
