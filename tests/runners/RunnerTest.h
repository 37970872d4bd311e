#pragma once

#include "files/InstalledPaths.h"
#include "tests/fakes/PlatformTest.h"

namespace trigora::test {

/// An installation with a scan assistant that starts when it is launched and quits when it is asked to.
class RunnerTest : public PlatformTest {
protected:
    const std::string launchAssistant = "launch " + paths::scanAssistantExecutable();
    const std::string quitRequest = "post! ReplySAQuitDistributedNotification";
    const std::string confirmation =
        "post ReplyScannerConfirmationDistributedNotification " +
        platform::Value(platform::Dictionary{{"DriverName", "D1"}, {"IPAddress", "10.0.0.9"}}).description();

    RunnerTest() {
        writeFile(paths::scanAssistantExecutable(), "");
        notifications.onPost("ReplySAQuitDistributedNotification",
                             [this](const auto&) { processes.exit("PScanAssistant"); });
    }

    static std::string hexadecimal(std::string_view bytes) {
        static constexpr std::string_view digits = "0123456789abcdef";
        std::string text;
        for (const char byte : bytes) {
            text += digits[static_cast<std::uint8_t>(byte) >> 4];
            text += digits[static_cast<std::uint8_t>(byte) & 0xF];
        }
        return text;
    }
};

} // namespace trigora::test
