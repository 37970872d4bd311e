#pragma once

#include "platform/DistributedNotifications.h"
#include "platform/linux/bus/BusConnection.h"

#include <map>
#include <memory>

namespace trigora::platform {

/// Notifications as signals on the session bus. User information that is empty on the wire is none; what
/// arrives in another shape is dropped. Notifications that arrive while the main thread is in a wait are
/// delivered after it, in order; equal ones count as one if the connection is told so.
///
/// Made and destroyed on the main thread, within the life of the connection.
class BusNotifications final : public DistributedNotifications {
public:
    explicit BusNotifications(BusConnection& connection);
    BusNotifications(const BusNotifications&) = delete;
    BusNotifications& operator=(const BusNotifications&) = delete;
    ~BusNotifications() override;

    /// From the moment this returns, no post of that name is missed.
    ObserverID observe(std::string name, Handler handler) override;
    void removeObserver(ObserverID observer) override;
    void post(const std::string& name, const std::optional<Dictionary>& userInfo,
              bool deliverImmediately) override;

private:
    struct Observer {
        std::string name;
        Handler handler;
    };

    static int messageArrived(sd_bus_message* message, void* notifications, sd_bus_error* error);

    bool isObserved(const std::string& name) const;
    void deliver(const Notification& notification);
    /// Tells the daemon to start ("AddMatch") or stop ("RemoveMatch") sending us the posts of a name.
    void changeMatch(const char* method, const std::string& name);

    BusConnection& connection_;
    BusSlotPointer filter_;
    std::map<ObserverID, Observer> observers_;
    ObserverID lastObserver_ = 0;
    const std::shared_ptr<int> life_ = std::make_shared<int>(); ///< what waits in the inbox is for as long
};

} // namespace trigora::platform
