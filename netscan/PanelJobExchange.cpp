#include "netscan/PanelJobExchange.h"

#include "agent/PSlog.h"
#include "agent/TgaServiceManager.h"
#include "netscan/CorvaneJobs.h"
#include "netscan/PanelDriver.h"
#include "netscan/PanelJobExecution.h"
#include "netscan/PanelJobOffer.h"
#include "netscan/PanelRecords.h"
#include "netscan/SVJobInterface.h"
#include "platform/RunLoop.h"
#include "projects/ProjectRunning.h"
#include "usbscan/TgaButtonManager.h"

#include <utility>

namespace trigora {

namespace {

using platform::Encoding;

std::int32_t handleSimpleScan(_NSMEvent* event, std::int32_t kind, void* data, std::int32_t reserved,
                              void* context) {
    const auto* request = static_cast<const NSMScanRequest*>(data);
    if (request != nullptr && isCorvaneSupported(fieldText(request->productID, Encoding::utf8))) {
        return ExecuteJob_Corvane_V2(request);
    }
    return RunScanJobV2(event, kind, data, reserved, context);
}

std::int32_t handlePanelJob(_PSMLPANELSCANJOBINFO* record, std::int32_t kind, PanelEventContext& manager) {
    if (record == nullptr) {
        return PANEL_RESULT_FAILED;
    }
    const bool isServedElsewhere =
        kind != NSM_EVENT_END_JOB && isCorvaneSupported(fieldText(record->productID, Encoding::ascii));
    if (kind == NSM_EVENT_JOB_LIST) {
        return isServedElsewhere ? SendJobInfoToPanel_Dummy(*record, manager)
                                 : SendJobInfoToPanel(*record, manager);
    }
    return isServedElsewhere ? ExecuteJob_Corvane_V3(*record, manager, kind)
                             : ExecuteJob(*record, manager, kind);
}

std::int32_t dispatch(_NSMEvent* event, std::int32_t kind, void* data, std::int32_t reserved, void* context) {
    switch (kind) {
    case 1:
        return PANEL_RESULT_FAILED;
    case NSM_EVENT_SIMPLE_SCAN:
        return handleSimpleScan(event, kind, data, reserved, context);
    case NSM_EVENT_START_JOB:
    case NSM_EVENT_JOB_LIST:
    case NSM_EVENT_END_JOB:
        return context == nullptr ? PANEL_RESULT_FAILED
                                  : handlePanelJob(static_cast<_PSMLPANELSCANJOBINFO*>(data), kind,
                                                   *static_cast<PanelEventContext*>(context));
    default:
        return PANEL_RESULT_DONE;
    }
}

/// The name of the scanner that a request is about: its model, the driver known to serve it, or the driver
/// that the scanning application last reported.
std::optional<std::string> scannerName(const NSMScanRequest& request, const PanelEventContext& manager) {
    const std::optional<std::string> model = fieldText(request.modelName, Encoding::utf8);
    if (model && !model->empty()) {
        return model;
    }
    const std::optional<std::string> productID = fieldText(request.productID, Encoding::utf8);
    std::optional<std::string> name = productID ? manager.dsNameWithScopeList(*productID) : std::nullopt;
    if (!name) {
        TgaServiceManager::sharedServiceManager()->getDriverName(name);
    }
    return name;
}

std::int32_t sendList(const PanelDriver& driver, PanelConnection& connection,
                      const std::optional<PanelJobList>& list, std::int32_t protocolVersion) {
    if (!list) {
        PSlog("%s [Line %d] no memory for the job list", "SendJobInfoToPanel", __LINE__);
        return PANEL_RESULT_FAILED;
    }
    return driver.send(connection, *list, protocolVersion) ? PANEL_RESULT_DONE : PANEL_RESULT_FAILED;
}

} // namespace

std::int32_t eventCallback(_NSMEvent* event, std::int32_t kind, void* data, std::int32_t reserved,
                           void* context) {
    try {
        return dispatch(event, kind, data, reserved, context);
    } catch (...) {
        return PANEL_RESULT_FAILED;
    }
}

bool isCorvaneSupported(const std::optional<std::string>& productID) {
    return productID && TgaButtonManager::sharedButtonManager()->isPushScanSupported(*productID);
}

std::int32_t RunScanJobV2(_NSMEvent*, std::int32_t, void* data, std::int32_t, void* context) {
    if (data == nullptr || context == nullptr || platform::shared<ProjectRunning>()->isRunning()) {
        return PANEL_RESULT_BUSY;
    }
    const auto& request = *static_cast<const NSMScanRequest*>(data);
    PanelEventContext& manager = *static_cast<PanelEventContext*>(context);
    const std::optional<std::string> address = fieldText(request.ipAddress, Encoding::utf8);
    const std::optional<std::string> name = scannerName(request, manager);
    if (!name || !address || address->empty()) {
        return PANEL_RESULT_BUSY;
    }
    TgaServiceManager::sharedServiceManager()->setCurrentEvent(
        Dictionary{{"initiator", 0},
                   {"eventStatus", request.eventStatus},
                   {"modelName", *name},
                   {"driverName", *name},
                   {"IPAddress", *address}});
    platform::current().runLoop.performOnMainThread(
        [handler = manager.weak_from_this(),
         event = Dictionary{{"DriverName", *name}, {"IPAddress", *address}}] {
            if (const std::shared_ptr<PanelEventContext> alive = handler.lock()) {
                alive->processNetworkScanEvent(event);
            }
        });
    return PANEL_RESULT_DONE;
}

std::int32_t SendJobInfoToPanel(_PSMLPANELSCANJOBINFO& record, PanelEventContext& manager) {
    const std::shared_ptr<PanelDriver> driver = PanelDriver::create();
    if (!driver || !driver->canOpen()) {
        return PANEL_RESULT_FAILED;
    }
    const std::optional<std::string> productID = fieldText(record.productID, Encoding::ascii);
    takePanelCapabilities(record.capabilityFlags, manager,
                          SVJobInterface::jobInterfaceForProductID(productID).get());
    PanelConnection connection;
    if (!driver->open(dottedAddress(record), connection)) {
        return PANEL_RESULT_DONE; // a panel that has gone away is no error of ours
    }
    if (!driver->lock(connection)) {
        return PANEL_RESULT_DONE; // nor is one that is busy; its connection is left alone
    }
    std::int32_t result = PANEL_RESULT_DONE;
    if (const auto jobInterface = SVJobInterface::jobInterfaceForProductID(productID)) {
        result = sendList(*driver, connection,
                          jobListToOffer(*jobInterface, isOldJobList(record.protocolVersion),
                                         record.capabilityFlags, record.hardwareAddress),
                          record.protocolVersion);
        driver->unlock(connection);
    }
    driver->close(connection);
    return result;
}

std::int32_t SendJobInfoToPanel_Dummy(const _PSMLPANELSCANJOBINFO& record, PanelEventContext&) {
    const std::shared_ptr<PanelDriver> driver = PanelDriver::create();
    if (!driver || !driver->canOpen()) {
        return PANEL_RESULT_FAILED;
    }
    PanelConnection connection;
    if (!driver->open(dottedAddress(record), connection)) {
        return PANEL_RESULT_DONE;
    }
    std::int32_t result = PANEL_RESULT_DONE;
    if (driver->lock(connection)) {
        result = sendList(*driver, connection, PanelJobList::placeholder(), record.protocolVersion);
        driver->unlock(connection);
    }
    driver->close(connection);
    return result;
}

} // namespace trigora
