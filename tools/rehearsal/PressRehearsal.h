#pragma once

#include "agent/service/ScanEventMapping.h"
#include "agent/service/ScanEventProject.h"
#include "platform/Value.h"
#include "tools/rehearsal/RehearsalPlatform.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace trigora::tools {

/// A press, and what the scan assistant is taken to answer about its scanner.
struct RehearsedPress {
    std::string driver;
    std::string model;
    std::uint32_t eventStatus = 0;
    Dictionary deviceInfo;
    std::string scannerVersion;
};

/// The way of one press through the agent's own classes, from the driver's event to what its project would
/// launch, open and post, with nothing of it happening (see `RehearsalPlatform`), and the reasons at each
/// stage. The scanner is taken to be there, and a scan to succeed. The rehearsal's platform is in use for as
/// long as this lives, so that the projects and files that it speaks of can be looked at.
class PressRehearsal {
public:
    explicit PressRehearsal(const RehearsedPress& press);

    /// In the place of the files that a scan would give.
    static constexpr const char* scannedFiles = "(scanned files)";

    bool isAssistantInstalled() const { return isAssistantInstalled_; }
    /// The press as the agent keeps it, with the address.
    const Dictionary& event() const { return event_; }
    std::optional<std::string> driverName() const { return platform::textAt(event_, "driverName"); }
    const ScanSettingsVersion& settingsVersion() const { return settingsVersion_; }

    // From here on only for a press with a driver's name, and with a scan assistant to confirm it.
    bool isConfirmed() const { return isAssistantInstalled_ && driverName(); }
    bool hasDeviceTable() const { return hasDeviceTable_; }
    const ScanEventMapping& mapping() const { return mapping_; }
    /// Null when the event is refused; so is the project.
    const std::shared_ptr<TrScannerDriverInformation>& driver() const { return driver_; }
    const ScanEventProject& project() const { return project_; }
    /// The binding file that the agent reads for the model; none when there is none.
    const std::optional<std::string>& bindingsFile() const { return bindingsFile_; }
    /// Whether the folder of the driver's own projects would first be made.
    bool wouldMakeProjectFolder() const { return wouldMakeProjectFolder_; }

    /// What would go out when the press arrives, when its scanner is confirmed, and after the scan.
    const std::vector<RehearsedEffect>& request() const { return request_; }
    const std::vector<RehearsedEffect>& start() const { return start_; }
    const std::vector<RehearsedEffect>& action() const { return action_; }
    bool wouldScan() const;
    /// Whether pages are scanned, or an application is given work.
    bool wouldRun() const;

    OverlayFiles& files() { return platform_.files(); }

private:
    void rehearse(const RehearsedPress& press);
    void findReasons(const RehearsedPress& press);

    RehearsalPlatform platform_;
    bool isAssistantInstalled_ = false;
    Dictionary event_;
    ScanSettingsVersion settingsVersion_;
    bool hasDeviceTable_ = false;
    ScanEventMapping mapping_;
    std::shared_ptr<TrScannerDriverInformation> driver_;
    ScanEventProject project_;
    std::optional<std::string> bindingsFile_;
    bool wouldMakeProjectFolder_ = false;
    std::vector<RehearsedEffect> request_;
    std::vector<RehearsedEffect> start_;
    std::vector<RehearsedEffect> action_;
};

} // namespace trigora::tools
