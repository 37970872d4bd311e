#include "agent/service/ScanEventProject.h"

#include "catalogue/drivers/TrScannerDriverInformation.h"
#include "catalogue/events/TrEventInformation.h"
#include "catalogue/events/TrEventManager.h"
#include "platform/Text.h"
#include "projects/information/TrProjectInformation.h"
#include "projects/manager/TrProjectManager.h"

namespace trigora {

std::shared_ptr<TrScannerDriverInformation>
driverOfScanEvent(const std::string& driverName, const std::optional<Dictionary>& deviceInfo,
                  const std::optional<std::string>& scannerVersion) {
    Dictionary driverInfo{{"DriverInfoDrivername", driverName}, {"DriverInfoMakerName", "PELOX"}};
    if (scannerVersion) {
        driverInfo["DriverInfoDriverVersion"] = *scannerVersion;
    }
    auto driver = TrScannerDriverInformation::initWithDriverInformation(driverInfo);
    driver->setDeviceInfo(deviceInfo);
    return driver;
}

ScanEventProject projectOfScanEvent(const std::string& eventID,
                                    const std::shared_ptr<TrScannerDriverInformation>& driver) {
    using Outcome = ScanEventProject::Outcome;
    ScanEventProject found;
    found.event = TrEventManager::sharedEventManager()->eventInformationWithEventID(eventID);
    found.projectID = found.event ? found.event->connectedProjectID(driver) : std::nullopt;
    const auto projectManager = TrProjectManager::sharedProjectManager();
    projectManager->setScanProjectListWithScannerDriver(driver);
    if (!found.projectID) {
        found.outcome = found.event ? Outcome::notBound : Outcome::noEvent;
    } else if (platform::integerValue(*found.projectID) == 0) {
        found.outcome = Outcome::noAction;
    } else if (found.project = projectManager->projectInformationWithProjectID(*found.projectID);
               !found.project) {
        found.outcome = Outcome::noProject;
    } else {
        const bool isAvailable = TrProjectManager::isAvailableProject(found.project, driver);
        found.outcome = isAvailable ? Outcome::runs : Outcome::notAvailable;
    }
    return found;
}

} // namespace trigora
