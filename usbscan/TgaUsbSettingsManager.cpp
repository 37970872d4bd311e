#include "usbscan/TgaUsbSettingsManager.h"

#include "agent/PSlog.h"
#include "files/InstalledPaths.h"
#include "modules/network_scan.h"
#include "netscan/PanelChoices.h"
#include "netscan/PanelDriver.h"
#include "netscan/PanelJobExecution.h"
#include "netscan/PanelJobOffer.h"
#include "netscan/SVJobInterface.h"
#include "platform/Bundles.h"
#include "platform/Text.h"

#include <cstring>
#include <exception>
#include <optional>
#include <utility>

namespace trigora {

namespace {

using platform::fourCharCode;

/// Such as "PID 012a".
std::string productIDText(std::uint32_t pid) {
    std::string digits;
    do {
        digits.insert(digits.begin(), "0123456789abcdef"[pid % 16]);
        pid /= 16;
    } while (pid != 0);
    return "PID " + std::string(digits.size() < 4 ? 4 - digits.size() : 0, '0') + digits;
}

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

stRecvJobData choicesInRecord(const UsbPanelScanJobInfo& record, const PanelDriver& panelDriver) {
    stRecvJobData choices{};
    if (panelDriver.canDecode()) {
        choices = panelDriver.decode(record.jobData, record.jobDataLength);
    } else {
        PSlog("decodeJobData can not loaded");
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

std::int32_t answerRequest(std::int32_t kind, UsbPanelScanJobInfo& record, TgaUsbSettingsManager& manager) {
    PSlog("Start Usb Event");
    const std::shared_ptr<PanelDriver> panelDriver = PanelDriver::create();
    if (!panelDriver) {
        PSlog("panelBundle is null");
        return PANEL_RESULT_FAILED;
    }
    const std::shared_ptr<SVJobInterface> jobInterface =
        TgaUsbSettingsManager::JobIF(productIDText(manager.pid()));
    if (!jobInterface) {
        PSlog("jobif is null");
        return PANEL_RESULT_FAILED;
    }
    switch (kind) {
    case PSML_STRUCT_PANELSCAN_JOBLIST:
        PSlog("PSML_STRUCT_PANELSCAN_JOBLIST");
        return resultFor(TgaUsbSettingsManager::DoJobList(*jobInterface, record, *panelDriver, manager));
    case PSML_STRUCT_PANELSCAN_START:
        return answerJobStart(*jobInterface, record, *panelDriver, manager);
    case PSML_STRUCT_PANELSCAN_END:
        PSlog("PSML_STRUCT_PANELSCAN_END");
        return resultFor(jobInterface->completeJobInContext());
    default:
        return PANEL_RESULT_FAILED;
    }
}

} // namespace

void TgaUsbSettingsManager::registerEvent() {
    platform::current().appleEvents.setEventHandler(
        fourCharCode("PLsc"), fourCharCode("UbPo"),
        [this](const platform::AppleEvent& event, platform::AppleEvent& reply) {
            handleScanEvent(event, reply);
        });
}

void TgaUsbSettingsManager::handleScanEvent(const platform::AppleEvent& event, platform::AppleEvent&) {
    PSlog("handleScanEvent Received");
    const platform::AppleEventParameter* parameter = event.parameter(fourCharCode("UsId"));
    std::uint32_t pid = 0;
    if (parameter != nullptr && parameter->bytes.size() == sizeof pid) {
        std::memcpy(&pid, parameter->bytes.data(), sizeof pid);
        setPid(pid);
    }
    PSlog("pid = %d", this->pid());
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
            return;
        }
        if (!bundleRef_UsbScan->loadExecutable()) {
            PSlog("UsbScanBundle CFBundleLoadExecutable fails");
            bundleRef_UsbScan.reset();
            return;
        }
    }
    auto* startEvent = platform::functionNamed<StartEventFunction>(*bundleRef_UsbScan, "StartEvent");
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
    const stRecvJobData choices = choicesInRecord(record, panelDriver);
    if (record.command != PANEL_COMMAND_START) {
        logCommand(record.command);
        return sendJobCommand(jobInterface, record.command).value_or(true);
    }
    if (!jobInterface.isReady()) {
        isBusy = true;
        return false;
    }
    PSlog("jobif invokeJobAtIndex");
    const Dictionary options = optionsForChoices(choices, record.timeout, manager);
    PSlog("Options For SV = %@", options);
    return jobInterface.invokeJobAtIndex(record.jobIndex, std::nullopt, options);
}

std::int32_t UsbEventCallbackProc(void*, std::int32_t kind, UsbPanelScanJobInfo* record, std::int32_t,
                                  void* context) {
    if (record == nullptr || context == nullptr) {
        return PANEL_RESULT_FAILED;
    }
    try {
        auto* manager = static_cast<TgaUsbSettingsManager*>(static_cast<PanelJobFlags*>(context));
        return answerRequest(kind, *record, *manager);
    } catch (const std::exception&) {
        return PANEL_RESULT_FAILED;
    }
}

} // namespace trigora
