#include "runners/launch/ConfirmationRequest.h"

#include "files/NotificationNames.h"
#include "platform/DistributedNotifications.h"
#include "platform/Platform.h"

namespace trigora {

void postConfirmationRequest(const std::optional<std::string>& driverName,
                             const std::optional<std::string>& ipAddress, bool deliverImmediately) {
    Dictionary request;
    if (driverName) {
        request["DriverName"] = *driverName;
    }
    if (ipAddress) {
        request["IPAddress"] = *ipAddress;
    }
    platform::current().notifications.post(notifications::replyScannerConfirmation, request,
                                           deliverImmediately);
}

} // namespace trigora
