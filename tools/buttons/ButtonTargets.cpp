#include "tools/buttons/ButtonTargets.h"

#include "agent/event/ScanEventRecord.h"
#include "platform/Text.h"
#include "projects/information/TrProjectInformation.h"
#include "tools/rehearsal/PressRehearsal.h"

namespace trigora::tools {

ButtonTarget targetOfButton(const std::string& driver, const std::string& model, const std::string& modelID,
                            std::uint32_t button) {
    RehearsedPress press;
    press.driver = driver;
    press.model = std::string(platform::utf8Prefix(model, longestScannerName));
    press.eventStatus = button;
    press.scannerVersion = "3.0";
    press.deviceInfo = {{"DeviceInfoModelID", std::int64_t{platform::hexadecimalValue(modelID)}}};
    const PressRehearsal rehearsal(press);
    ButtonTarget target;
    if (!rehearsal.isConfirmed()) {
        target.project = "the scan assistant is not installed";
        return target;
    }
    target.eventID = std::to_string(rehearsal.mapping().eventID);
    const ScanEventProject& project = rehearsal.project();
    if (!rehearsal.driver()) {
        target.project = "such a button is refused";
        return target;
    }
    switch (project.outcome) {
    case ScanEventProject::Outcome::runs:
        target.projectID = project.projectID;
        target.project = project.project->projectName().value_or("");
        break;
    case ScanEventProject::Outcome::noEvent:
        target.project = "there is no such event";
        break;
    case ScanEventProject::Outcome::notBound:
    case ScanEventProject::Outcome::noAction:
        target.project = "nothing is bound to it";
        break;
    case ScanEventProject::Outcome::noProject:
        target.project = "its project does not exist";
        break;
    case ScanEventProject::Outcome::notAvailable:
        target.project = "its project is not available";
        break;
    }
    return target;
}

} // namespace trigora::tools
