#pragma once

#include "tools/settings/SettingsChange.h"

#include <memory>
#include <string>

namespace trigora {
class TrScannerDriverInformation;
}

namespace trigora::tools {

class SettingsSession;

// Which project the event of a button runs. A driver's model has bindings of its own; a null driver stands
// for scanners without a model ID. Changes are written, read back and posted; a `SettingsError` tells that
// nothing was changed, or that the file does not hold the change.

/// Has the event run the project, both given by their IDs.
SettingsChange bindEvent(SettingsSession& session, const std::shared_ptr<TrScannerDriverInformation>& driver,
                         const std::string& eventID, const std::string& projectID);
/// Has the event run its default project again.
SettingsChange unbindEvent(SettingsSession& session,
                           const std::shared_ptr<TrScannerDriverInformation>& driver,
                           const std::string& eventID);

} // namespace trigora::tools
