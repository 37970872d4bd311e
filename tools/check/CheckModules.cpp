#include "tools/check/CheckModules.h"

#include "files/InstalledPaths.h"
#include "modules/button_manager.h"
#include "modules/job_interface.h"
#include "platform/Bundles.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"
#include "platform/Text.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <functional>
#include <optional>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

namespace trigora::tools {

namespace {

using platform::Bundle;
using std::chrono::steady_clock;

constexpr std::chrono::seconds timeToLoad{10};
constexpr std::size_t mostText = 4096;

struct Module {
    std::string path;
    const char* consequence; ///< of its not being there
    /// What is wrong with it once it is loaded; empty when nothing is.
    std::function<std::string(Bundle&)> problem;
};

/// One of the functions at least.
std::function<std::string(Bundle&)> exports(const std::vector<const char*>& functions) {
    return [functions](Bundle& bundle) {
        const bool isUsable = std::ranges::any_of(
            functions, [&](const char* function) { return bundle.functionPointer(function) != nullptr; });
        return isUsable ? std::string() : "it does not export " + std::string(functions.front());
    };
}

/// The class is there, in a table that the agent takes.
std::function<std::string(Bundle&)> offers(const char* className, std::size_t size, std::uint32_t version) {
    return [=](Bundle& bundle) -> std::string {
        auto* lookUp = platform::functionNamed<TrigoraClassNamedFunction>(bundle, "TrigoraClassNamed");
        const TrigoraClassHeader* header = lookUp == nullptr ? nullptr : lookUp(className);
        if (lookUp == nullptr) {
            return "it does not export TrigoraClassNamed";
        }
        if (header == nullptr) {
            return "it has no class " + std::string(className);
        }
        if (header->version != version) {
            return "its table of " + std::string(className) + " is of version " +
                   std::to_string(header->version) + ", the agent takes version " + std::to_string(version);
        }
        return header->size >= size
                   ? std::string()
                   : "its table of " + std::string(className) + " has " + std::to_string(header->size) +
                         " bytes, the agent needs " + std::to_string(size);
    };
}

std::vector<Module> modules() {
    const std::string agent = paths::agentApplication();
    const auto buttonManager = offers("ButtonManager", sizeof(ButtonManagerClass), BUTTON_MANAGER_VERSION);
    const char* ownScanners = "the panels of its application's scanners are served by the agent alone";
    return {{paths::networkScanModule(agent), "no scanner on the network is served",
             exports({"NSMStartService"})},
            {paths::usbScanModule(agent), "no panel of a USB scanner is served", exports({"StartEvent"})},
            {paths::panelDriverModule(), "no panel gets a list of jobs, and none is run",
             exports({"PDOpen", "PDCreateJobData2"})},
            {platform::appendingPathComponent(paths::documentCaptureApplication(),
                                              "Contents/Resources/ScrivanaInterface.bundle"),
             "panels have no jobs",
             offers("SVJobInterface", sizeof(SVJobInterfaceClass), SV_JOB_INTERFACE_VERSION)},
            {paths::quilloButtonManagerModule(), ownScanners, buttonManager},
            {paths::fotrixButtonManagerModule(), ownScanners, buttonManager}};
}

/// What is wrong with the module, by loading it here; empty when nothing is.
std::string problemOf(const Module& module) {
    platform::Bundles& bundles = platform::current().bundles;
    const std::shared_ptr<Bundle> bundle = bundles.create(module.path);
    if (!bundle) {
        return "its Info.plist is missing or damaged";
    }
    if (bundle->loadExecutable()) {
        return module.problem(*bundle);
    }
    const auto failures = bundles.failedModules();
    return failures.empty() ? "it cannot be loaded" : failures.back().reason;
}

/// Everything from the descriptor until its other end goes; none when that takes too long.
std::optional<std::string> readAll(int descriptor) {
    const auto end = steady_clock::now() + timeToLoad;
    std::string text;
    char bytes[512];
    for (;;) {
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - steady_clock::now());
        pollfd waited{descriptor, POLLIN, 0};
        const int ready = left.count() <= 0 ? 0 : poll(&waited, 1, static_cast<int>(left.count()));
        if (ready == 0) {
            return std::nullopt;
        }
        const ssize_t count = ready < 0 ? -1 : read(descriptor, bytes, sizeof bytes);
        if (count == 0) {
            return text;
        }
        if (count > 0) {
            text.append(bytes, static_cast<std::size_t>(count));
        }
    }
}

/// The same in a process of its own, which may crash or hang.
std::string problemSeenFromOutside(const Module& module) {
    int ends[2];
    if (pipe2(ends, O_CLOEXEC) != 0) {
        return {};
    }
    const pid_t child = fork();
    if (child == 0) {
        const int nowhere = open("/dev/null", O_RDWR); // for what the module's code prints
        dup2(nowhere, STDOUT_FILENO);
        dup2(nowhere, STDERR_FILENO);
        const std::string problem = problemOf(module).substr(0, mostText);
        const ssize_t written = write(ends[1], problem.data(), problem.size());
        _exit(written == static_cast<ssize_t>(problem.size()) ? 0 : 1);
    }
    close(ends[1]);
    const std::optional<std::string> problem = child < 0 ? "" : readAll(ends[0]);
    close(ends[0]);
    if (!problem) {
        kill(child, SIGKILL);
    }
    int status = 0;
    while (child > 0 && waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    if (!problem) {
        return "its code does not come to an end when it is loaded";
    }
    return WIFSIGNALED(status)
               ? "its code crashes when it is loaded: " + std::string(strsignal(WTERMSIG(status)))
               : *problem;
}

} // namespace

void checkModules(Findings& findings) {
    for (const Module& module : modules()) {
        const std::string problem = platform::current().fileSystem.exists(module.path)
                                        ? problemSeenFromOutside(module)
                                        : std::string();
        if (!problem.empty()) {
            findings.push_back({module.path, "", problem, module.consequence});
        }
    }
}

} // namespace trigora::tools
