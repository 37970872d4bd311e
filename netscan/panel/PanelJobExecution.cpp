#include "netscan/panel/PanelJobExecution.h"

#include "agent/log/PSlog.h"
#include "netscan/panel/PanelChoices.h"
#include "netscan/panel/PanelDriver.h"
#include "netscan/panel/PanelRecords.h"

namespace trigora {

namespace {

std::int32_t resultFor(bool isDone) {
    if (!isDone) {
        PSlog("the job interface refused");
    }
    return isDone ? PANEL_RESULT_DONE : PANEL_RESULT_FAILED;
}

std::int32_t startJob(const SVJobInterface& jobInterface, const _PSMLPANELSCANJOBINFO& record,
                      const PanelEventContext& manager, const stRecvJobData& choices) {
    if (!jobInterface.isReady()) {
        PSlog("scanner is busy");
        return PANEL_RESULT_BUSY;
    }
    const Dictionary options = optionsForChoices(choices, record.timeout, manager);
    PSlog("Options For SV = %@", options);
    return resultFor(jobInterface.invokeJobAtIndex(record.jobIndex, dottedAddress(record), options));
}

} // namespace

std::optional<bool> sendJobCommand(const SVJobInterface& jobInterface, std::int32_t command) {
    switch (command) {
    case PANEL_COMMAND_CONTINUE:
        return jobInterface.continueJob();
    case PANEL_COMMAND_COMPLETE:
        return jobInterface.completeJob();
    case PANEL_COMMAND_CANCEL:
        return jobInterface.cancelJob();
    case PANEL_COMMAND_KEEP_ALIVE:
        return jobInterface.keepAliveJob();
    default:
        return std::nullopt;
    }
}

std::int32_t ExecuteJob(const _PSMLPANELSCANJOBINFO& record, const PanelEventContext& manager,
                        std::int32_t kind) {
    const std::shared_ptr<PanelDriver> driver = PanelDriver::create();
    if (!driver || (kind == NSM_EVENT_START_JOB && !driver->canOpen())) {
        return PANEL_RESULT_FAILED;
    }
    const std::shared_ptr<SVJobInterface> jobInterface =
        SVJobInterface::jobInterfaceForProductID(fieldText(record.productID, platform::Encoding::ascii));
    if (!jobInterface) {
        return PANEL_RESULT_FAILED;
    }
    if (kind == NSM_EVENT_END_JOB) {
        return resultFor(jobInterface->completeJobInContext());
    }
    if (kind != NSM_EVENT_START_JOB) {
        return PANEL_RESULT_DONE;
    }
    const std::optional<stRecvJobData> choices = driver->choicesAt(dottedAddress(record));
    if (!choices) {
        PSlog("no connection to the panel");
        return PANEL_RESULT_DONE; // it has gone away: nothing is started
    }
    if (record.command == PANEL_COMMAND_START) {
        return startJob(*jobInterface, record, manager, *choices);
    }
    return resultFor(sendJobCommand(*jobInterface, record.command).value_or(true));
}

} // namespace trigora
