#include "usbscan/settings/TgaUsbSettingsManager.h"

#include "agent/event/UsbScannerEvent.h"
#include "agent/log/Guarded.h"
#include "agent/log/PSlog.h"
#include "files/InstalledPaths.h"
#include "modules/network_scan.h"
#include "netscan/panel/PanelChoices.h"
#include "netscan/panel/PanelDriver.h"
#include "netscan/panel/PanelJobExecution.h"
#include "netscan/panel/PanelJobOffer.h"
#include "netscan/panel/SVJobInterface.h"
#include "platform/Bundles.h"
#include "platform/LowMemory.h"
#include "platform/Text.h"

#include <cstring>
#include <optional>
#include <utility>

namespace trigora {

namespace {

/// No panel's choices take more bytes.
constexpr std::uint32_t mostEncodedBytes = 1U << 24;

void logChoices(const stRecvJobData& choices) {
    PSlog("stRecvJobData.ucImageType = %d", choices.ucImageType);
    PSlog("stRecvJobData.ucResolution = %d", choices.ucResolution);
    PSlog("stRecvJobData.ucScanningDevice = %d", choices.ucScanningDevice);
    PSlog("stRecvJobData.ucDocumentSize = %d", choices.ucDocumentSize);
    PSlog("stRecvJobData.ucDocumentOrientation = %d", choices.ucDocumentOrientation);
    PSlog("stRecvJobData.ucSaveFormat = %d", choices.ucSaveFormat);
    PSlog("stRecvJobData.ucScanToNo = %d", choices.ucScanToNo);
    PSlog("stRecvJobData.ucPrintNum= %d", choices.ucPrintNum);
}

/// Whether a record's encoded data can be handed on: it is there, or there is none.
bool isReadable(const UsbPanelScanJobInfo& record) {
    return (record.jobData == 0 && record.jobDataLength == 0) ||
           (record.jobDataLength <= mostEncodedBytes &&
            platform::current().lowMemory.isReadable(record.jobData, record.jobDataLength));
}

/// None when the record refers to memory that is not there.
std::optional<stRecvJobData> choicesInRecord(const UsbPanelScanJobInfo& record,
                                             const PanelDriver& panelDriver) {
    stRecvJobData choices{};
    if (!panelDriver.canDecode()) {
        PSlog("decodeJobData can not loaded");
    } else if (isReadable(record)) {
        choices = panelDriver.decode(record.jobData, record.jobDataLength);
    } else {
        PSlog("%s [Line %d] the encoded choices cannot be read", "DoJobStart", __LINE__);
        return std::nullopt;
    }
    logChoices(choices);
    return choices;
}

void logCommand(std::int32_t command) {
    constexpr const char* lines[] = {"jobif continueJob", "jobif completeJob", "jobif cancelJob",
                                     "jobif keepAliveJob"};
    if (command >= PANEL_COMMAND_CONTINUE && command <= PANEL_COMMAND_KEEP_ALIVE) {
        PSlog(lines[command - PANEL_COMMAND_CONTINUE]);
    }
}

std::int32_t resultFor(bool isDone) {
    PSlog(isDone ? "Finish Usb Event" : "result is false");
    return isDone ? PANEL_RESULT_DONE : PANEL_RESULT_FAILED;
}

std::int32_t answerJobStart(const SVJobInterface& jobInterface, const UsbPanelScanJobInfo& record,
                            const PanelDriver& panelDriver, const PanelJobFlags& manager) {
    PSlog("PSML_STRUCT_PANELSCAN_START");
    bool isBusy = false;
    const bool isDone = TgaUsbSettingsManager::DoJobStart(jobInterface, record, panelDriver, manager, isBusy);
    if (isBusy) {
        PSlog("scanner is busy");
        return PANEL_RESULT_BUSY;
    }
    return resultFor(isDone);
}

std::int32_t answerRequest(std::int32_t kind, UsbPanelScanJobInfo* record, TgaUsbSettingsManager& manager) {
    PSlog("Start Usb Event");
    const std::shared_ptr<PanelDriver> panelDriver = PanelDriver::create();
    if (!panelDriver) {
        return PANEL_RESULT_FAILED;
    }
    const std::shared_ptr<SVJobInterface> jobInterface =
        TgaUsbSettingsManager::JobIF(stringWithFormat("PID %04x", manager.pid()));
    if (!jobInterface) {
        return PANEL_RESULT_FAILED;
    }
    switch (kind) {
    case PSML_STRUCT_PANELSCAN_JOBLIST:
        PSlog("PSML_STRUCT_PANELSCAN_JOBLIST");
        return resultFor(record != nullptr &&
                         TgaUsbSettingsManager::DoJobList(*jobInterface, *record, *panelDriver, manager));
    case PSML_STRUCT_PANELSCAN_START:
        return record == nullptr ? resultFor(false)
                                 : answerJobStart(*jobInterface, *record, *panelDriver, manager);
    case PSML_STRUCT_PANELSCAN_END:
        PSlog("PSML_STRUCT_PANELSCAN_END");
        return resultFor(jobInterface->completeJobInContext());
    default:
        return PANEL_RESULT_FAILED;
    }
}

} // namespace

TgaUsbSettingsManager::~TgaUsbSettingsManager() {
    if (isRegistered_) {
        platform::current().appleEvents.removeEventHandler(platform::productEventClass, usbScannerEventID);
    }
}

void TgaUsbSettingsManager::registerEvent() {
    platform::current().appleEvents.setEventHandler(
        platform::productEventClass, usbScannerEventID,
        [this](const platform::AppleEvent& event, platform::AppleEvent& reply) {
            guarded("-[TgaUsbSettingsManager handleScanEvent:withReplyEvent:]",
                    [&] { handleScanEvent(event, reply); });
        });
    isRegistered_ = true;
}

void TgaUsbSettingsManager::handleScanEvent(const platform::AppleEvent& event, platform::AppleEvent&) {
    PSlog("handleScanEvent Received");
    const std::optional<std::uint32_t> productID = productIDOfUsbScanner(event);
    if (!productID) {
        PSlog("the event does not say which scanner it is");
        return;
    }
    setPid(*productID);
    PSlog("pid = %d", static_cast<std::int32_t>(pid()));
    start();
}

void TgaUsbSettingsManager::start() {
    PSlog("start");
    if (!bundleRef_UsbScan) {
        platform::Bundles& bundles = platform::current().bundles;
        const std::shared_ptr<platform::Bundle> agent = bundles.mainBundle();
        bundleRef_UsbScan = agent ? bundles.create(paths::usbScanModule(agent->path())) : nullptr;
        if (!bundleRef_UsbScan) {
            PSlog("UsbScanBundle Not Found");
        } else if (!bundleRef_UsbScan->loadExecutable()) {
            PSlog("UsbScanBundle CFBundleLoadExecutable fails");
            bundleRef_UsbScan.reset();
            return;
        }
    }
    auto* startEvent = bundleRef_UsbScan
                           ? platform::functionNamed<StartEventFunction>(*bundleRef_UsbScan, "StartEvent")
                           : nullptr;
    if (startEvent == nullptr) {
        PSlog("StartEvent proc not found");
        return;
    }
    startEvent(pid(), 0, &UsbEventCallbackProc, static_cast<PanelJobFlags*>(this));
}

std::shared_ptr<SVJobInterface> TgaUsbSettingsManager::JobIF(const std::string& productID) {
    PSlog("JobIF = %@", productID);
    return SVJobInterface::jobInterfaceForProductID(productID);
}

bool TgaUsbSettingsManager::DoJobList(const SVJobInterface& jobInterface, UsbPanelScanJobInfo& record,
                                      const PanelDriver& panelDriver, PanelJobFlags& manager) {
    takePanelCapabilities(record.capabilityFlags, manager, &jobInterface);
    const std::optional<PanelJobList> list =
        jobListToOffer(jobInterface, false, record.capabilityFlags, record.hardwareAddress);
    if (!list) {
        PSlog("%s [Line %d] no memory for the job list", "DoJobList", __LINE__);
        return false;
    }
    if (!panelDriver.canEncode()) {
        PSlog("createJobData2 Func not loaded");
    }
    const std::optional<EncodedJobData> encoded = panelDriver.encode(*list, record.protocolVersion);
    if (!encoded) {
        PSlog("%s [Line %d] the encoded job list lies above 4 GiB", "DoJobList", __LINE__);
        return false;
    }
    record.jobData = encoded->data;
    record.jobDataLength = encoded->length;
    return true;
}

bool TgaUsbSettingsManager::DoJobStart(const SVJobInterface& jobInterface, const UsbPanelScanJobInfo& record,
                                       const PanelDriver& panelDriver, const PanelJobFlags& manager,
                                       bool& isBusy) {
    const std::optional<stRecvJobData> choices = choicesInRecord(record, panelDriver);
    if (record.command != PANEL_COMMAND_START) {
        logCommand(record.command);
        return sendJobCommand(jobInterface, record.command).value_or(true);
    }
    if (!jobInterface.isReady()) {
        isBusy = true;
        return false;
    }
    if (!choices) {
        return false;
    }
    PSlog("jobif invokeJobAtIndex");
    const Dictionary options = optionsForChoices(*choices, record.timeout, manager);
    PSlog("Options For SV = %@", options);
    return jobInterface.invokeJobAtIndex(record.jobIndex, std::nullopt, options);
}

std::int32_t UsbEventCallbackProc(void*, std::int32_t kind, UsbPanelScanJobInfo* record, std::int32_t,
                                  void* context) {
    if (context == nullptr) {
        return PANEL_RESULT_FAILED;
    }
    try {
        auto* manager = static_cast<TgaUsbSettingsManager*>(static_cast<PanelJobFlags*>(context));
        return answerRequest(kind, record, *manager);
    } catch (...) {
        return PANEL_RESULT_FAILED;
    }
}

} // namespace trigora
