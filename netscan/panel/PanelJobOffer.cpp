#include "netscan/panel/PanelJobOffer.h"

#include "agent/log/PSlog.h"
#include "modules/network_scan.h"

#include <string>
#include <utility>

namespace trigora {

namespace {

/// New lists say how the password is to be protected; old ones always have it digested. False when there is
/// no memory for it.
bool protect(PanelJobList& list, const SVJobInterface& jobInterface, bool isOldList,
             const char* hardwareAddress) {
    const bool isDigestRequired = isOldList || jobInterface.isMD5HashedPasswordRequired();
    const std::optional<std::string> password = jobInterface.password();
    if (!isOldList) {
        PSlog("[password] passwordString = %@", password);
    }
    if (!password || password->empty()) {
        return true;
    }
    if (!isOldList) {
        PSlog(isDigestRequired ? "MD5 hash convert" : "Plain text");
    }
    if (isDigestRequired) {
        list.setDigestedPassword(hardwareAddress, *password);
        return true;
    }
    return list.setPlainPassword(*password);
}

} // namespace

void takePanelCapabilities(std::uint32_t& capabilityFlags, PanelJobFlags& flags,
                           const SVJobInterface* jobInterface) {
    flags.setIsErrorRecoveryAvailable((capabilityFlags & PANEL_HAS_ERROR_RECOVERY) != 0);
    flags.setIsConituneScanningAvailable((capabilityFlags & PANEL_HAS_CONTINUE_SCANNING) != 0);
    if (jobInterface == nullptr || !jobInterface->isOfficeFormatSupported()) {
        PSlog("[jobif isOfficeFormatSupported] == NO");
        capabilityFlags &= ~std::uint32_t{PANEL_OFFERS_OFFICE_FORMATS};
    }
}

std::optional<PanelJobList> jobListToOffer(const SVJobInterface& jobInterface, bool isOldList,
                                           std::uint32_t capabilityFlags, const char* hardwareAddress) {
    const bool honoursProhibitsEdit = (capabilityFlags & PANEL_HONOURS_PROHIBITS_EDIT) != 0;
    std::optional<PanelJobList> list =
        PanelJobList::withJobs(jobInterface.jobs(), isOldList, honoursProhibitsEdit);
    if (list && !protect(*list, jobInterface, isOldList, hardwareAddress)) {
        list.reset();
    }
    return list;
}

} // namespace trigora
