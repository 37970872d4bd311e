// The scanner buttons service: reads its options, puts the service together on the real platform and runs
// until the session ends.

#include "companions/TrigoraButtons/bus/AgentPresence.h"
#include "companions/TrigoraButtons/bus/DesktopMessages.h"
#include "companions/TrigoraButtons/devices/InotifyNodes.h"
#include "companions/TrigoraButtons/devices/PlugMonitor.h"
#include "companions/TrigoraButtons/devices/Seat.h"
#include "companions/TrigoraButtons/messages/ButtonServiceEvents.h"
#include "companions/TrigoraButtons/policy/ButtonService.h"
#include "companions/TrigoraButtons/reading/ProcessReader.h"
#include "files/InstalledPaths.h"
#include "platform/Formats.h"
#include "platform/Guarded.h"
#include "platform/linux/LinuxPlatform.h"
#include "platform/linux/bus/BusNames.h"

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <span>
#include <string_view>

namespace trigora::buttons {
namespace {

constexpr int exitUsage = 2;
constexpr const char* systemUsbFolder = "/dev/bus/usb";

constexpr const char* help = R"(Usage: TrigoraButtons [--root DIR] [--usb-folder DIR] [--list]

Watches the buttons of the scanners at this desk and tells the agent of each press, until the session ends or it
is told to terminate (SIGTERM, SIGINT). "trigoractl buttons" shows what it sees.

  --list            looks for scanners once, prints what it finds as JSON and ends
  --root DIR        the folder below which the product is installed. Otherwise TRIGORA_ROOT, then the folder
                    that this program is installed below, then "/".
  --usb-folder DIR  watches this folder instead of the system's USB devices, for scanners that are simulated
  --help            shows this text
  --version         shows the version

Exit status: 0 when it ended in order, 1 when it could not start (no session bus, or it runs already in this
session), 2 for a wrong command line.
)";

struct Request {
    std::string root;
    std::string usbFolder;
    bool isList = false;
};

int fail(const std::string& sentence, int exitCode) {
    platform::reportFailure("TrigoraButtons: " + sentence);
    return exitCode;
}

platform::AppleEventParameter statusParameter(const ButtonService& service) {
    const std::string text = platform::current().json.write(service.status());
    return {.keyword = platform::keyDirectObject,
            .type = platform::typeUTF8Text,
            .bytes = Data(text.begin(), text.end())};
}

/// What the service needs of the system, in the order in which one part needs another.
struct System {
    System(platform::LinuxPlatform& real, const Request& request)
        : loop(real.runLoop()), usbFolder(request.usbFolder.empty() ? systemUsbFolder : request.usbFolder),
          reader(loop, real.root().onDisk(paths::buttonReaderExecutable()), usbFolder),
          nodes(loop, reader.processes()) {}

    platform::LinuxRunLoop& loop;
    const std::string usbFolder;
    ProcessReader reader;
    InotifyNodes nodes;
};

void log(const std::string& line) { platform::reportFailure(line); }

int listScanners(platform::LinuxPlatform& real, const Request& request) {
    System system(real, request);
    ButtonService service({.reader = system.reader,
                           .nodes = system.nodes,
                           .tellUser = [](const std::string&, const std::string&) {},
                           .log = [](const std::string&) {},
                           .looked = [&system] { system.loop.stop(EXIT_SUCCESS); }});
    constexpr bool readsNoSensors = false;
    service.start(readsNoSensors);
    const int exitCode = system.loop.run();
    const std::string text = platform::current().json.write(service.status());
    std::printf("%s\n", text.c_str());
    return exitCode;
}

int watchButtons(platform::LinuxPlatform& real, const Request& request) {
    if (!real.bus()->requestName(platform::bus::signatureName(serviceSignature))) {
        return fail("the scanner buttons service is already running in this session", EXIT_FAILURE);
    }
    System system(real, request);
    const auto end = [&loop = system.loop] { loop.stop(EXIT_SUCCESS); };
    system.loop.onSignal(SIGTERM, end);
    system.loop.onSignal(SIGINT, end);
    real.bus()->onLost(end);

    ButtonService service(
        {.reader = system.reader,
         .nodes = system.nodes,
         .tellUser = [&real](const std::string& title,
                             const std::string& text) { showDesktopMessage(*real.bus(), title, text); },
         .log = log});
    const PlugMonitor::Events plugs{
        .plugged = [&service] { service.plugged(); },
        .unplugged = [&service](const std::string& node) { service.unplugged(node); }};
    const std::unique_ptr<PlugMonitor> monitor =
        request.usbFolder.empty() ? PlugMonitor::ofSystem(system.loop, plugs)
                                  : PlugMonitor::ofFolder(system.loop, request.usbFolder, plugs);
    const Seat seat(system.loop, [&service](bool isActive) { service.seatChanged(isActive); });
    const AgentPresence agent(*real.bus(), [&service](bool isPresent) { service.agentChanged(isPresent); });
    platform::current().appleEvents.setEventHandler(
        platform::productEventClass, buttonStatusEventID,
        [&service](const platform::AppleEvent&, platform::AppleEvent& reply) {
            reply.parameters.push_back(statusParameter(service));
        });
    service.start(seat.isActive());
    platform::LinuxPlatform::notifyReady();
    const int exitCode = system.loop.run();
    platform::LinuxPlatform::notifyStopping();
    platform::current().appleEvents.removeEventHandler(platform::productEventClass, buttonStatusEventID);
    return exitCode;
}

/// None when the command line has been answered, with the exit code then.
std::optional<Request> understand(std::span<char*> words, int& exitCode) {
    Request request;
    for (std::size_t i = 0; i < words.size(); ++i) {
        const std::string_view word = words[i];
        std::string* value = word == "--root"         ? &request.root
                             : word == "--usb-folder" ? &request.usbFolder
                                                      : nullptr;
        if (word == "--help" || word == "--version") {
            std::fputs(word == "--help" ? help : "TrigoraButtons " TRIGORA_VERSION "\n", stdout);
            exitCode = EXIT_SUCCESS;
            return std::nullopt;
        }
        if (word == "--list") {
            request.isList = true;
        } else if (value != nullptr && i + 1 < words.size() && *words[i + 1] != '\0') {
            *value = words[++i];
        } else {
            exitCode = fail("\"" + std::string(word) + "\" is not understood; see --help", exitUsage);
            return std::nullopt;
        }
    }
    return request;
}

int run(std::span<char*> words) {
    int exitCode = EXIT_FAILURE;
    const std::optional<Request> request = understand(words, exitCode);
    if (!request) {
        return exitCode;
    }
    std::string error;
    const auto real = platform::LinuxPlatform::create(
        {.root = request->root, .mainBundlePath = {}, .needsBus = !request->isList}, error);
    if (!real) {
        return fail(error, EXIT_FAILURE);
    }
    platform::install(&real->platform());
    return request->isList ? listScanners(*real, *request) : watchButtons(*real, *request);
}

} // namespace
} // namespace trigora::buttons

int main(int count, char** words) {
    int exitCode = EXIT_FAILURE;
    trigora::platform::guarded([&] {
        exitCode = trigora::buttons::run(std::span(words, static_cast<std::size_t>(count)).subspan(1));
    });
    return exitCode;
}
