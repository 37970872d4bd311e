#pragma once

#include "platform/linux/bus/BusConnection.h"
#include "platform/linux/loop/SystemdPointers.h"

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace trigora::companions {

/// What a notification shows.
struct NoticeContent {
    std::string title;
    std::string text;
    std::vector<std::pair<std::string, std::string>> actions; ///< what to call it, and the button's words
    bool isOngoing = false;                                   ///< stays until it changes
    bool isFailure = false;

    friend bool operator==(const NoticeContent&, const NoticeContent&) = default;
};

/// One notification of the desktop that changes; see the Desktop Notifications of freedesktop.org. Main
/// thread only.
class DesktopNotice {
public:
    /// Null when the desktop has no notification service.
    static std::unique_ptr<DesktopNotice> create(platform::BusConnection& connection);
    DesktopNotice(const DesktopNotice&) = delete;
    DesktopNotice& operator=(const DesktopNotice&) = delete;
    ~DesktopNotice() = default;

    /// Shows it, in the place of what was shown before. The service is not waited for.
    void show(NoticeContent content);
    void close();
    /// Called with the name of the action whose button the user has pressed.
    void onAction(std::function<void(const std::string&)> handler) { actionHandler_ = std::move(handler); }
    /// Called when the user or the desktop has closed it.
    void onClosed(std::function<void()> handler) { closedHandler_ = std::move(handler); }

private:
    DesktopNotice(platform::BusConnection& connection, bool understandsMarkup)
        : bus_(connection.mainBus()), understandsMarkup_(understandsMarkup) {}

    bool watch();
    void send();
    static int shown(sd_bus_message* reply, void* notice, sd_bus_error* error);
    static int actionInvoked(sd_bus_message* signal, void* notice, sd_bus_error* error);
    static int closed(sd_bus_message* signal, void* notice, sd_bus_error* error);

    sd_bus* bus_;
    bool understandsMarkup_;
    std::uint32_t id_ = 0; ///< 0 before the service has told it
    platform::BusSlotPointer call_;
    std::optional<NoticeContent> next_; ///< to be shown once the service has answered
    std::function<void(const std::string&)> actionHandler_;
    std::function<void()> closedHandler_;
    platform::BusSlotPointer actionSlot_;
    platform::BusSlotPointer closedSlot_;
};

} // namespace trigora::companions
