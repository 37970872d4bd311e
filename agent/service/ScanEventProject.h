#pragma once

#include "platform/Value.h"

#include <memory>
#include <optional>
#include <string>

/// From an event to the project that it runs, with the reasons: the agent runs the result, `trigoractl
/// explain` tells it.
namespace trigora {

class TrEventInformation;
class TrProjectInformation;
class TrScannerDriverInformation;

/// The driver that an event came from, as the catalogue takes it. Never null.
std::shared_ptr<TrScannerDriverInformation>
driverOfScanEvent(const std::string& driverName, const std::optional<Dictionary>& deviceInfo,
                  const std::optional<std::string>& scannerVersion);

struct ScanEventProject {
    enum class Outcome {
        runs,
        noEvent,      ///< no event with that ID is installed
        notBound,     ///< no project is bound to it, and it has no default one
        noAction,     ///< the project 0 is bound to it, which does nothing
        noProject,    ///< the driver's list has no project with that ID
        notAvailable, ///< the driver cannot do what the project needs
    };

    Outcome outcome = Outcome::noEvent;
    std::shared_ptr<TrEventInformation> event;     ///< null for `noEvent`
    std::optional<std::string> projectID;          ///< none up to `notBound`
    std::shared_ptr<TrProjectInformation> project; ///< null up to `noProject`
};
/// Puts the driver's list of projects together first. The bindings in use must be those of its model.
ScanEventProject projectOfScanEvent(const std::string& eventID,
                                    const std::shared_ptr<TrScannerDriverInformation>& driver);

} // namespace trigora
