#include "netscan/exchange/PanelJobExchange.h"

#include "agent/log/Guarded.h"
#include "agent/log/PSlog.h"
#include "agent/service/TgaServiceManager.h"
#include "netscan/exchange/CorvaneJobs.h"
#include "netscan/panel/PanelDriver.h"
#include "netscan/panel/PanelJobExecution.h"
#include "netscan/panel/PanelJobOffer.h"
#include "netscan/panel/PanelRecords.h"
#include "netscan/panel/SVJobInterface.h"
#include "platform/RunLoop.h"
#include "projects/manager/ProjectRunning.h"
#include "usbscan/buttons/TgaButtonManager.h"

#include <utility>

namespace trigora {

namespace {

using platform::Encoding;

/// An event that modules know, and the agent does not take.
constexpr std::int32_t refusedEvent = 1;

/// The name of the scanner that a request is about: its model, the driver known to serve it, or the driver
/// that the scanning application last reported.
std::optional<std::string> scannerName(const NSMScanRequest& request, const PanelEventContext& manager) {
    std::optional<std::string> model = fieldText(request.modelName, Encoding::utf8);
    if (model && !model->empty()) {
        return model;
    }
    const std::optional<std::string> productID = fieldText(request.productID, Encoding::utf8);
    std::optional<std::string> name = productID ? manager.dsNameWithScopeList(*productID) : std::nullopt;
    return name && !name->empty() ? name : TgaServiceManager::sharedServiceManager()->getDriverName();
}

std::int32_t sendList(PanelConnection& connection, std::optional<PanelJobList> list,
                      std::int32_t protocolVersion) {
    if (!list) {
        PSlog("%s [Line %d] no memory for the job list", "SendJobInfoToPanel", __LINE__);
        return PANEL_RESULT_FAILED;
    }
    if (!connection.send(std::move(*list), protocolVersion)) {
        PSlog("the panel was not sent the job list");
        return PANEL_RESULT_FAILED;
    }
    return PANEL_RESULT_DONE;
}

/// Whether the panel is there and free; says in the log what it is not.
bool openAndLock(PanelConnection& connection, const std::string& address) {
    if (!connection.open(address)) {
        PSlog("no connection to the panel at %@", address);
        return false;
    }
    if (!connection.lock()) {
        PSlog("the panel at %@ is locked", address);
        return false;
    }
    return true;
}

/// Busy, for that reason.
std::int32_t busy(const char* reason) {
    PSlog(reason);
    return PANEL_RESULT_BUSY;
}

/// Whether the button manager serves the scanner; no for none.
bool isCorvaneSupported(const std::optional<std::string>& productID) {
    return productID && TgaButtonManager::sharedButtonManager()->isPushScanSupported(*productID);
}

/// A request to scan to this computer: 1 when the scanner's confirmation is on its way, 9 when a project is
/// running or the request does not say which scanner it is.
std::int32_t RunScanJobV2(_NSMEvent*, std::int32_t, void* data, std::int32_t, void* context) {
    if (data == nullptr || context == nullptr) {
        return busy("the request is missing");
    }
    if (platform::shared<ProjectRunning>()->isRunning()) {
        return busy("a project is running");
    }
    const auto& request = *static_cast<const NSMScanRequest*>(data);
    PanelEventContext& manager = *static_cast<PanelEventContext*>(context);
    const std::optional<std::string> address = fieldText(request.ipAddress, Encoding::utf8);
    const std::optional<std::string> name = scannerName(request, manager);
    if (!name || !address || address->empty()) {
        return busy("the request does not say which scanner it is");
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

/// Sends the saved jobs of the record's scanner to its panel: 8 when there is no panel driver or the list
/// could not be sent; 1 when it was, and also when the panel or the jobs could not be reached.
std::int32_t SendJobInfoToPanel(_PSMLPANELSCANJOBINFO& record, PanelEventContext& manager) {
    const std::shared_ptr<PanelDriver> driver = PanelDriver::create();
    if (!driver || !driver->canOpen()) {
        return PANEL_RESULT_FAILED;
    }
    const std::optional<std::string> productID = fieldText(record.productID, Encoding::ascii);
    takePanelCapabilities(record.capabilityFlags, manager,
                          SVJobInterface::jobInterfaceForProductID(productID).get());
    PanelConnection connection(*driver);
    if (!openAndLock(connection, dottedAddress(record))) {
        connection.leaveOpen();
        return PANEL_RESULT_DONE; // a panel that has gone away or is busy is not an error of ours
    }
    const auto jobInterface = SVJobInterface::jobInterfaceForProductID(productID);
    if (!jobInterface) {
        connection.closeLocked();
        return PANEL_RESULT_DONE;
    }
    return sendList(connection,
                    jobListToOffer(*jobInterface, isOldJobList(record.protocolVersion),
                                   record.capabilityFlags, record.hardwareAddress),
                    record.protocolVersion);
}

/// The same with one placeholder job, for a scanner that another application serves.
std::int32_t SendJobInfoToPanel_Dummy(const _PSMLPANELSCANJOBINFO& record, PanelEventContext&) {
    const std::shared_ptr<PanelDriver> driver = PanelDriver::create();
    if (!driver || !driver->canOpen()) {
        return PANEL_RESULT_FAILED;
    }
    PanelConnection connection(*driver);
    return openAndLock(connection, dottedAddress(record))
               ? sendList(connection, PanelJobList::placeholder(), record.protocolVersion)
               : PANEL_RESULT_DONE;
}

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
        PSlog("the request is missing");
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
    case refusedEvent:
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

} // namespace

std::int32_t eventCallback(_NSMEvent* event, std::int32_t kind, void* data, std::int32_t reserved,
                           void* context) {
    std::int32_t result = PANEL_RESULT_FAILED;
    guarded("eventCallback", [&] {
        PSlog("eventCallback kind = %d", kind);
        result = dispatch(event, kind, data, reserved, context);
        PSlog("eventCallback result = %d", result);
    });
    return result;
}

} // namespace trigora
