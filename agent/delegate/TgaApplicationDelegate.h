#pragma once

#include "agent/delegate/EventSource.h"
#include "platform/DistributedNotifications.h"

#include <vector>

namespace trigora {

/// Brings the agent up when the program has been launched and takes it down when it terminates.
///
/// Launching observes "NetworkSettingsDidChangeNotification", sets the service manager up and then starts the
/// other event sources in their order. Terminating stops those that have something to stop, in the same
/// order; all else is left to the end of the process. A source that fails does not keep the others from
/// starting or stopping. Main thread only.
class TgaApplicationDelegate {
public:
    explicit TgaApplicationDelegate(std::vector<EventSource> eventSources);
    ~TgaApplicationDelegate();
    TgaApplicationDelegate(const TgaApplicationDelegate&) = delete;
    TgaApplicationDelegate& operator=(const TgaApplicationDelegate&) = delete;

    void applicationDidFinishLaunching();
    void applicationWillTerminate();

private:
    void AD_RegistrationNotification();
    /// The notification's contents are not looked at: the settings are read again from their file.
    void AD_NetworkSettingsDidChange(const platform::Notification& notification);

    std::vector<EventSource> eventSources_;
    platform::DistributedNotifications::ObserverID observer_ = 0;
};

} // namespace trigora
