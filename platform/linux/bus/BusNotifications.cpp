#include "platform/linux/bus/BusNotifications.h"

#include "platform/Guarded.h"
#include "platform/Text.h"
#include "platform/linux/bus/BusNames.h"
#include "platform/linux/bus/BusValue.h"

#include <algorithm>
#include <cstring>
#include <utility>
#include <vector>

namespace trigora::platform {

namespace {

/// Which messages the daemon shall send us. In a rule, a quotation mark is written outside the quotes.
std::string matchRule(const std::string& name) {
    return std::string("type='signal',path='") + bus::notificationsPath + "',interface='" +
           bus::notificationsInterface + "',member='" + bus::postedSignal + "',arg0='" +
           replacingOccurrences(name, "'", "'\\''") + "'";
}

bool isPosted(sd_bus_message* message) {
    const char* path = sd_bus_message_get_path(message);
    return sd_bus_message_is_signal(message, bus::notificationsInterface, bus::postedSignal) > 0 &&
           path != nullptr && std::strcmp(path, bus::notificationsPath) == 0 &&
           sd_bus_message_has_signature(message, bus::postedSignature) > 0;
}

/// None when the message is not what it says it is.
std::optional<Notification> readPosted(sd_bus_message* message) {
    const char* name = nullptr;
    int deliverImmediately = 0;
    if (sd_bus_message_read(message, "sb", &name, &deliverImmediately) <= 0) {
        return std::nullopt;
    }
    Notification notification{name, bus::readDictionary(message)};
    if (!notification.userInfo) {
        return std::nullopt;
    }
    if (notification.userInfo->empty()) {
        notification.userInfo.reset();
    }
    return notification;
}

int sendPosted(sd_bus* connection, const std::string& name, const Dictionary& userInfo,
               bool deliverImmediately) {
    sd_bus_message* made = nullptr;
    int result = sd_bus_message_new_signal(connection, &made, bus::notificationsPath,
                                           bus::notificationsInterface, bus::postedSignal);
    const BusMessagePointer message(made);
    if (result >= 0) {
        result = sd_bus_message_append(made, "sb", bus::acceptableText(name).c_str(),
                                       static_cast<int>(deliverImmediately));
    }
    if (result >= 0) {
        result = bus::appendDictionary(made, userInfo);
    }
    return result < 0 ? result : sd_bus_send(connection, made, nullptr);
}

} // namespace

BusNotifications::BusNotifications(BusConnection& connection) : connection_(connection) {
    sd_bus_slot* slot = nullptr;
    sd_bus_add_filter(connection.mainBus(), &slot, messageArrived, this);
    filter_.reset(slot);
}

BusNotifications::~BusNotifications() {
    while (!observers_.empty()) {
        removeObserver(observers_.begin()->first);
    }
}

DistributedNotifications::ObserverID BusNotifications::observe(std::string name, Handler handler) {
    name = bus::acceptableText(name);
    if (!isObserved(name)) {
        changeMatch("AddMatch", name);
    }
    observers_[++lastObserver_] = {std::move(name), std::move(handler)};
    return lastObserver_;
}

void BusNotifications::removeObserver(ObserverID observer) {
    const auto found = observers_.find(observer);
    if (found == observers_.end()) {
        return;
    }
    const std::string name = found->second.name;
    observers_.erase(found);
    if (!isObserved(name)) {
        changeMatch("RemoveMatch", name);
    }
}

void BusNotifications::post(const std::string& name, const std::optional<Dictionary>& userInfo,
                            bool deliverImmediately) {
    connection_.send([&](sd_bus* bus) {
        return sendPosted(bus, name, userInfo.value_or(Dictionary()), deliverImmediately);
    });
}

bool BusNotifications::isObserved(const std::string& name) const {
    return std::any_of(observers_.begin(), observers_.end(),
                       [&](const auto& entry) { return entry.second.name == name; });
}

void BusNotifications::changeMatch(const char* method, const std::string& name) {
    // The answer is waited for: the match is in force when this returns. When the bus is gone, nothing
    // will ever arrive, and that is said elsewhere.
    sd_bus_call_method(connection_.mainBus(), "org.freedesktop.DBus", "/org/freedesktop/DBus",
                       "org.freedesktop.DBus", method, nullptr, nullptr, "s", matchRule(name).c_str());
}

int BusNotifications::messageArrived(sd_bus_message* message, void* notifications, sd_bus_error*) {
    if (!isPosted(message)) {
        return 0;
    }
    guarded([&] {
        auto& self = *static_cast<BusNotifications*>(notifications);
        if (std::optional<Notification> notification = readPosted(message)) {
            self.connection_.inbox().addNotification(
                std::move(*notification),
                [life = std::weak_ptr(self.life_), &self](const Notification& arrived) {
                    if (!life.expired()) {
                        self.deliver(arrived);
                    }
                });
        }
    });
    return 0;
}

void BusNotifications::deliver(const Notification& notification) {
    std::vector<ObserverID> called;
    for (const auto& [id, observer] : observers_) {
        if (observer.name == notification.name) {
            called.push_back(id);
        }
    }
    for (const ObserverID id : called) {
        // One that an earlier one has removed is not called any more.
        const auto found = observers_.find(id);
        if (found != observers_.end()) {
            const Handler handler = found->second.handler;
            guarded([&] { handler(notification); });
        }
    }
}

} // namespace trigora::platform
