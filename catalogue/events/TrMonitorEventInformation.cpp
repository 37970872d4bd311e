#include "catalogue/events/TrMonitorEventInformation.h"

namespace trigora {

std::shared_ptr<TrMonitorEventInformation>
TrMonitorEventInformation::createMonitorEventInforamtionWithEventInformation(
    const TrEventInformation& event) {
    auto monitorEvent = std::make_shared<TrMonitorEventInformation>();
    monitorEvent->setEventID(event.eventID());
    monitorEvent->setIsShow(event.isShow());
    monitorEvent->setEventType(event.eventType());
    monitorEvent->setVersion(event.version());
    monitorEvent->setEventName(event.eventName());
    monitorEvent->setDescription(event.description());
    monitorEvent->setIconFilePath(event.iconFilePath());
    monitorEvent->setDefaultProjectID(event.defaultProjectID(nullptr));
    monitorEvent->setSupportProjectIDList(event.supportProjectIDList());
    monitorEvent->setSupportProjectTypeList(event.supportProjectTypeList());
    return monitorEvent;
}

void TrMonitorEventInformation::setMonitorInformation(const Dictionary& settings) {
    const Value* interval = platform::find(settings, "intervalTime");
    monitorFolderPath_ = platform::textAt(settings, "folderPath");
    setTimeInterval(interval == nullptr ? std::nullopt : std::optional(*interval));
    string_ConnectedProjectID = platform::textAt(settings, "executiveProjectID");
}

void TrMonitorEventInformation::setTimeInterval(std::optional<Value> interval) {
    const bool isEmpty = interval && interval->text() != nullptr && interval->text()->empty();
    timeInterval_ = isEmpty ? std::nullopt : std::move(interval);
}

std::optional<std::string> TrMonitorEventInformation::connectedProjectID(
    const std::shared_ptr<const TrScannerDriverInformation>& driver) const {
    return string_ConnectedProjectID ? string_ConnectedProjectID : defaultProjectID(driver);
}

void TrMonitorEventInformation::setConnectedProjectID(const std::optional<std::string>& projectID) {
    string_ConnectedProjectID = projectID;
}

} // namespace trigora
