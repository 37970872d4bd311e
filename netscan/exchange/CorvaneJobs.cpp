#include "netscan/exchange/CorvaneJobs.h"

#include "agent/log/PSlog.h"
#include "netscan/panel/PanelDriver.h"
#include "netscan/panel/PanelRecords.h"
#include "usbscan/buttons/TgaButtonManager.h"

namespace trigora {

namespace {

bool handOver(const std::optional<std::string>& productID, const std::optional<std::string>& ipAddress) {
    return productID && ipAddress &&
           TgaButtonManager::sharedButtonManager()->invokeButtonManagerJobWithPidString(*productID,
                                                                                        *ipAddress);
}

} // namespace

std::int32_t ExecuteJob_Corvane_V2(const NSMScanRequest* request) {
    if (request == nullptr) {
        return PANEL_RESULT_FAILED;
    }
    const std::optional<std::string> productID = fieldText(request->productID, platform::Encoding::utf8);
    const std::optional<std::string> address = fieldText(request->ipAddress, platform::Encoding::utf8);
    if (!handOver(productID, address)) {
        PSlog("the button manager does not take the request");
        return PANEL_RESULT_FAILED;
    }
    return PANEL_RESULT_DONE;
}

std::int32_t ExecuteJob_Corvane_V3(const _PSMLPANELSCANJOBINFO& record, const PanelEventContext&,
                                   std::int32_t) {
    const std::shared_ptr<PanelDriver> driver = PanelDriver::create();
    if (!driver || !driver->canOpen()) {
        return PANEL_RESULT_FAILED;
    }
    const std::string address = dottedAddress(record);
    if (driver->choicesAt(address)) {
        handOver(fieldText(record.productID, platform::Encoding::ascii), address);
    }
    return PANEL_RESULT_DONE;
}

} // namespace trigora
