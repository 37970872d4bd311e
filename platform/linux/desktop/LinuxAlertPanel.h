#pragma once

#include "platform/Desktop.h"
#include "platform/RunLoop.h"

#include <chrono>

namespace trigora::platform {

/// A desktop notification with the button as its action, over a bus connection of its own. It never expires
/// by our wish. The user answers it by its button or by dismissing it, which is the same with one button
/// only. It closes without an answer when the server takes it away or goes away itself, and when the program
/// ends. Where no server takes it, the message is written to the console and counts as answered by its
/// button.
class LinuxAlertPanel final : public AlertPanel {
public:
    /// How long the server may take to come up and accept the notification.
    static constexpr std::chrono::seconds acceptanceTime{10};

    LinuxAlertPanel(Console& console, RunLoop& runLoop) : console_(console), runLoop_(runLoop) {}

    AlertAnswer run(const std::string& title, const std::string& message, const std::string& button) override;

private:
    Console& console_;
    RunLoop& runLoop_;
};

} // namespace trigora::platform
