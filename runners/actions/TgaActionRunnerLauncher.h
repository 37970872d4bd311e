#pragma once

#include "runners/actions/TgaActionRunner.h"

#include <optional>
#include <string>
#include <vector>

namespace trigora {

/// Opens the scanned files, or their folder, with the action's application, or hands them to the action's
/// script (extension "scpt"). The kind of runner for every project that none of the others serves.
class TgaActionRunnerLauncher final : public TgaActionRunner {
public:
    /// 0; -1 for an action without an application path; -2 when the scan has failed. Waits for a script to
    /// end, and a tenth of a second after each file opened; of very many files most are opened later.
    std::int32_t performAction() override;

private:
    std::vector<std::string> filesToOpen() const;
    /// Runs the script with one argument that says which files there are.
    static void ARL_ExecuteScript(const std::string& scriptPath, const std::vector<std::string>& fileList);
    /// The same by calling the script's handler "scan_event". There are no script objects here that an
    /// event could be given to; the handler's name comes as an argument before the other one.
    static void ARL_ExecuteScriptToPanther(const std::string& scriptPath,
                                           const std::vector<std::string>& fileList);
};

} // namespace trigora
