#pragma once

#include "platform/Desktop.h"

#include <chrono>

namespace trigora::platform {

/// A desktop notification with the button as its action, over a bus connection of its own. It never expires
/// by our wish; the answer is the button, or the notification's closing, or the notification server's going
/// away. Where no server takes it, the message is written to the console and counts as answered by its
/// button.
class LinuxAlertPanel final : public AlertPanel {
public:
    /// How long the server may take to come up and accept the notification.
    static constexpr std::chrono::seconds acceptanceTime{10};

    explicit LinuxAlertPanel(Console& console) : console_(console) {}

    AlertAnswer run(const std::string& title, const std::string& message, const std::string& button) override;

private:
    Console& console_;
};

} // namespace trigora::platform
