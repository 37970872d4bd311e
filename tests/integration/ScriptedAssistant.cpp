// Stands in for the scan assistant. What it does when it is asked to confirm a scanner is the one line of
// "assistant.script" in the installation root at that moment:
//
//     confirm RESULT   answers with the result, for a scanner with the model ID 0x123
//     once RESULT      answers the first time, and ends as after a crash the next time
//     die              ends at once, as after a crash
//     wait             does nothing
//
// Asked to scan it answers with one file, "scanned.pdf" in the home folder; asked to quit it quits. It owns
// the bus name of `assistantName` once it listens.

#include "platform/linux/bus/BusConnection.h"
#include "platform/linux/bus/BusNotifications.h"
#include "platform/linux/loop/LinuxRunLoop.h"
#include "tests/integration/AssistantName.h"

#include <cstdlib>
#include <fstream>
#include <iostream>

namespace {

using trigora::platform::Array;
using trigora::platform::Dictionary;
using trigora::platform::Notification;

std::string environment(const char* name) {
    const char* value = std::getenv(name);
    return value == nullptr ? "" : value;
}

void answer(trigora::platform::BusNotifications& notifications, const Notification& request) {
    std::ifstream script(environment("TRIGORA_ROOT") + "/assistant.script");
    std::string verb;
    int result = 0;
    script >> verb >> result;
    static bool hasAnswered = false;
    if (verb == "die" || (verb == "once" && hasAnswered)) {
        std::_Exit(9);
    }
    if (verb == "wait") {
        return;
    }
    hasAnswered = true;
    const auto driver = trigora::platform::textAt(request.userInfo.value_or(Dictionary{}), "DriverName");
    const Dictionary device{{"DeviceInfoModelID", 0x123}};
    notifications.post("DidFinishScannerConfirmationDistributedNotification",
                       Dictionary{{"ScannerConfirmResult", result},
                                  {"ScannerVersion", "3.0"},
                                  {"UpdatedDeviceInfo", Dictionary{{driver.value_or(""), device}}}},
                       true);
}

} // namespace

int main() {
    trigora::platform::LinuxRunLoop loop;
    std::string error;
    const auto bus = trigora::platform::BusConnection::open(loop, error);
    if (!bus) {
        std::cerr << error << '\n';
        return EXIT_FAILURE;
    }
    bus->onLost([&] { loop.stop(EXIT_SUCCESS); });
    trigora::platform::BusNotifications notifications(*bus);
    notifications.observe("ReplySAQuitDistributedNotification",
                          [&](const Notification&) { loop.stop(EXIT_SUCCESS); });
    notifications.observe("ReplyScannerConfirmationDistributedNotification",
                          [&](const Notification& request) { answer(notifications, request); });
    notifications.observe("ReplyScanDistributedNotification", [&](const Notification&) {
        const std::string scanned = environment("HOME") + "/scanned.pdf";
        std::ofstream(scanned) << "scanned";
        notifications.post("DidFinishScanDistributedNotification", Dictionary{{"ScanResult", Array{scanned}}},
                           true);
    });
    bus->requestName(trigora::test::assistantName);
    return loop.run();
}
