// The agent's program: reads its options, puts the system together on the real platform and runs until the
// session ends.

#include "agent/delegate/StatusReport.h"
#include "agent/delegate/TgaApplicationDelegate.h"
#include "files/NotificationNames.h"
#include "netscan/settings/TgaNetworkSettingsManager.h"
#include "platform/Desktop.h"
#include "platform/linux/LinuxPlatform.h"
#include "platform/linux/bus/BusConnection.h"
#include "platform/linux/bus/BusNames.h"
#include "platform/linux/loop/EndWatch.h"
#include "platform/linux/loop/LinuxRunLoop.h"
#include "usbscan/buttons/TgaButtonManager.h"
#include "usbscan/settings/TgaUsbSettingsManager.h"

#include <chrono>
#include <cstdlib>
#include <exception>
#include <filesystem>
#include <iostream>
#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace trigora {
namespace {

constexpr int exitUsage = 2;

/// From the signal or the loss of the bus to the end by force. The service manager gives it a little longer.
constexpr std::chrono::seconds timeToEnd(9);

constexpr std::string_view help = R"(Usage: TrigoraAgent [--root DIR]

Waits in the background for the buttons of scanners and runs the jobs bound to them, until the session ends
or it is told to terminate (SIGTERM, SIGINT).

  --root DIR  the folder below which the product is installed. Otherwise TRIGORA_ROOT, then the folder that
              this program is installed below, then "/".
  --help      shows this text
  --version   shows the version

Exit status: 0 when it ended in order, 1 when it could not start (no session bus, or another agent runs in
this session) or was not let end in order within 9 seconds, 2 for a wrong command line.
)";

int fail(std::string_view sentence, int exitCode) {
    std::cerr << "TrigoraAgent: " << sentence << '\n';
    return exitCode;
}

/// In the order in which they start and stop.
std::vector<EventSource> eventSources() {
    const auto readNetworkSettings = [] {
        TgaNetworkSettingsManager::sharedNetworkSettingsManager()->readNetworkScanSettingsFile();
    };
    const auto stopNetworkService = [] {
        TgaNetworkSettingsManager::sharedNetworkSettingsManager()->stopNetworkService();
    };
    return {
        {"network scan", readNetworkSettings, stopNetworkService, readNetworkSettings},
        {"USB push scan", [] { TgaUsbSettingsManager::sharedUsbSettingsManager()->registerEvent(); }, {}, {}},
        {"button manager",
         [] { TgaButtonManager::sharedButtonManager()->start(); },
         [] { TgaButtonManager::sharedButtonManager()->stop(); },
         {}},
    };
}

int runAgent(const std::string& root) {
    std::string error;
    const auto real =
        platform::LinuxPlatform::create({.root = root, .mainBundlePath = {}, .needsBus = true}, error);
    if (!real) {
        return fail(error, EXIT_FAILURE);
    }
    platform::install(&real->platform());
    // The name comes first: a second agent must not touch anything. What is sent to it from now on waits in
    // the connection until the loop turns.
    if (!real->bus()->requestName(platform::bus::agentName)) {
        return fail("an agent is already running in this session", EXIT_FAILURE);
    }
    platform::LinuxRunLoop& loop = real->runLoop();
    const platform::EndWatch endWatch(loop, real->bus()->descriptor(), timeToEnd, [] {
        platform::current().console.write("TrigoraAgent: something did not let it end in order");
        std::_Exit(EXIT_FAILURE);
    });
    // These hold it up for seconds. Answers are not among them: each of those counts.
    real->bus()->mergeEqualNotifications(
        {notifications::networkSettingsDidChange, notifications::scanSettingsDidChange,
         notifications::monitorFolderSettingsDidChange, notifications::testScanningWillStart});
    real->bus()->onLost([&loop] { loop.stop(EXIT_SUCCESS); });

    TgaApplicationDelegate delegate(eventSources());
    delegate.applicationDidFinishLaunching();
    const StatusReport statusReport(real->root().path());
    platform::LinuxPlatform::notifyReady();
    const int exitCode = loop.run();
    platform::LinuxPlatform::notifyStopping();
    delegate.applicationWillTerminate();
    // Nothing stops a USB module: its threads may be in a call-back at this moment. The process ends around
    // them, with everything that they use still in its place.
    std::quick_exit(exitCode);
}

/// What the command line asks for: an exit code that is already known, or the agent in a root (empty when not
/// given).
struct Request {
    std::optional<int> exitCode;
    std::string root;
};

Request understand(std::span<char*> words) {
    constexpr std::string_view rootOption = "--root";
    Request request;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string_view word = words[i];
        if (word == "--help") {
            std::cout << help;
            return {EXIT_SUCCESS, {}};
        }
        if (word == "--version") {
            std::cout << "TrigoraAgent " TRIGORA_VERSION "\n";
            return {EXIT_SUCCESS, {}};
        }
        if (word == rootOption && i + 1 < words.size()) {
            request.root = words[++i];
        } else if (word.starts_with("--root=")) {
            request.root = word.substr(rootOption.size() + 1);
        } else {
            return {fail("wrong argument \"" + std::string(word) + "\"; --help shows the usage", exitUsage),
                    {}};
        }
        std::error_code error;
        if (!std::filesystem::is_directory(request.root, error)) {
            return {fail("the root \"" + request.root + "\" is no folder", exitUsage), {}};
        }
    }
    return request;
}

} // namespace
} // namespace trigora

int main(int argc, char** argv) {
    try {
        const std::span words(argv, static_cast<std::size_t>(argc));
        const trigora::Request request = trigora::understand(words.empty() ? words : words.subspan(1));
        return request.exitCode ? *request.exitCode : trigora::runAgent(request.root);
    } catch (const std::exception& error) {
        return trigora::fail(error.what(), EXIT_FAILURE);
    } catch (...) {
        return trigora::fail("unknown failure", EXIT_FAILURE);
    }
}
