#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace trigora::tools {

/// The simulated modules inside a running agent, as seen from outside: commands to the scanner's side, and
/// the journal of what the modules were asked.
class PanelSimulation {
public:
    using json = nlohmann::json;

    enum class Connection { network, usb };

    /// None when there is no folder to meet the modules in: neither one that is given nor that of the
    /// environment.
    static std::optional<PanelSimulation> open(Connection connection, const std::string& givenFolder = {});

    /// The module's answer; none when it does not answer, which the error explains.
    std::optional<json> send(const json& command, std::string& error) const;

    /// Where the journal ends now.
    std::int64_t journalEnd() const;
    /// The calls that were written down behind a place, as long as they make no more than 64 megabytes.
    std::vector<json> callsSince(std::int64_t place) const;
    /// The last list of jobs that went to a panel since then; none when none did.
    std::optional<json> lastListSince(std::int64_t place) const;

private:
    PanelSimulation(std::string folder, Connection connection)
        : folder_(std::move(folder)), connection_(connection) {}

    std::string journalPath() const { return folder_ + "/journal.jsonl"; }

    std::string folder_;
    Connection connection_;
};

} // namespace trigora::tools
