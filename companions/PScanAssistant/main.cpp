#include "companions/PScanAssistant/assistant/NoticeProgram.h"
#include "companions/PScanAssistant/assistant/ScanAssistant.h"
#include "companions/PScanAssistant/scanners/SaneScanners.h"
#include "files/InstalledPaths.h"
#include "platform/Guarded.h"
#include "platform/linux/LinuxPlatform.h"
#include "platform/linux/bus/BusConnection.h"
#include "platform/linux/bus/BusNames.h"
#include "platform/linux/loop/LinuxRunLoop.h"

#include <csignal>
#include <cstdlib>
#include <string>
#include <unistd.h>

namespace {

using namespace trigora;

constexpr const char* assistantName = "com.pelox.PScanAssistant";

/// Listens until it is told to quit, by the agent, by a signal or by the end of the session.
int runScanAssistant() {
    std::string error;
    const auto real = platform::LinuxPlatform::create({}, error);
    if (!real) {
        platform::reportFailure(error);
        return EXIT_FAILURE;
    }
    platform::install(&real->platform());
    platform::LinuxRunLoop& loop = real->runLoop();
    for (const int signal : {SIGTERM, SIGINT}) {
        loop.onSignal(signal, [&loop] { loop.stop(EXIT_SUCCESS); });
    }
    real->bus()->onLost([&loop] { loop.stop(EXIT_SUCCESS); });

    // Two would both answer, and both scan.
    if (!real->bus()->requestName(assistantName)) {
        platform::reportFailure("a scan assistant is running already");
        return EXIT_SUCCESS;
    }
    companions::SaneScanners scanners;
    companions::NoticeProgram notice(real->root().onDisk(paths::scanNoticeExecutable()));
    companions::ScanAssistant assistant(
        scanners, [&real](const std::string& folder) { return real->root().onDisk(folder); }, notice);
    // Now that it listens: whoever asked before may ask again.
    real->bus()->requestName(platform::bus::processName(::getpid()));
    const int exitCode = loop.run();
    if (!assistant.end()) {
        // The scanner does not let go of its thread; a document that it was filling is completed by the next
        // assistant.
        std::_Exit(exitCode);
    }
    return exitCode;
}

} // namespace

int main() {
    int exitCode = EXIT_FAILURE;
    platform::guarded([&exitCode] { exitCode = runScanAssistant(); });
    return exitCode;
}
