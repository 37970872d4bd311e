#include "runners/actions/TgaActionRunnerLauncher.h"

#include "catalogue/actions/TrActionInformation.h"
#include "files/InstalledPaths.h"
#include "files/NotificationNames.h"
#include "platform/Clock.h"
#include "platform/Desktop.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"
#include "platform/Processes.h"
#include "platform/RunLoop.h"
#include "platform/Text.h"
#include "platform/Workspace.h"
#include "runners/launch/OpeningQueue.h"

#include <algorithm>

namespace trigora {

namespace {

using FileList = std::vector<std::string>;

constexpr const char* passFolderOption = "0x0002";
constexpr const char* scriptExtension = "scpt";

/// The nearest folder above the path that exists; empty when a relative path has none, none when even "/"
/// is not a folder.
std::optional<std::string> existingFolderAbove(const std::string& path) {
    platform::FileSystem& files = platform::current().fileSystem;
    std::string folder = platform::deletingLastPathComponent(path);
    while (!folder.empty() && !files.isDirectory(folder)) {
        std::string parent = platform::deletingLastPathComponent(folder);
        if (parent == folder) {
            return std::nullopt;
        }
        folder = std::move(parent);
    }
    return folder;
}

constexpr std::int64_t pauseAfterEach = 100'000; // microseconds; keeps the files in their order

/// Scanned files beyond those that a runner opens itself, of all scans in their order.
class LaterOpenings {
public:
    OpeningQueue queue{static_cast<double>(pauseAfterEach) / 1e6};
};

/// The first files at once; a list that would hold the agent up for long goes on in the loop.
void openFiles(const FileList& files, const std::string& applicationPath) {
    constexpr std::size_t openedAtOnce = 10;
    platform::Platform& platform = platform::current();
    OpeningQueue& later = platform::shared<LaterOpenings>()->queue;
    auto file = files.begin();
    const auto end =
        later.isEmpty() ? file + static_cast<std::ptrdiff_t>(std::min(files.size(), openedAtOnce)) : file;
    for (; file != end && !platform.runLoop.isEnding(); ++file) {
        if (platform.workspace.openFile(*file, applicationPath)) {
            platform.clock.sleepMicroseconds(pauseAfterEach);
        }
    }
    later.add(FileList(file, files.end()), applicationPath);
}

/// The file manager shows the file in its folder, so one is enough.
void openFirstFileWithFinder(const FileList& files) {
    if (!files.empty()) {
        platform::current().workspace.openFile(files.front(), "Finder");
    }
}

std::string scriptArgument(const FileList& files) {
    if (files.empty()) {
        return "Message from my app.";
    }
    return files.size() == 1 ? files.front() : platform::deletingLastPathComponent(files.front());
}

void runScriptProgram(const std::vector<std::string>& arguments) {
    platform::Processes& processes = platform::current().processes;
    if (const auto process = processes.launch(paths::scriptProgram(), arguments)) {
        processes.waitForExit(*process);
    }
}

} // namespace

std::int32_t TgaActionRunnerLauncher::performAction() {
    constexpr std::int32_t noApplication = -1;
    constexpr std::int32_t scanFailed = -2;
    constexpr std::int32_t lastSystemWithScriptEvents = 0x103F;

    const auto& action = actionInformation();
    if (!action || !action->applicationPath()) {
        return noApplication;
    }
    const std::string& application = *action->applicationPath();
    const FileList files = filesToOpen();
    if (std::find(files.begin(), files.end(), notifications::failedScanMark) != files.end()) {
        return scanFailed;
    }
    if (platform::pathExtension(application) == scriptExtension) {
        const bool isOldSystem =
            platform::current().systemInformation.systemVersion() <= lastSystemWithScriptEvents;
        isOldSystem ? ARL_ExecuteScriptToPanther(application, files) : ARL_ExecuteScript(application, files);
    } else if (platform::deletingPathExtension(platform::lastPathComponent(application)) == "Finder") {
        openFirstFileWithFinder(files);
    } else {
        openFiles(files, application);
    }
    return 0;
}

FileList TgaActionRunnerLauncher::filesToOpen() const {
    const FileList& files = scanDataFileList();
    if (files.empty() || actionInformation()->option() != passFolderOption) {
        return files;
    }
    const std::optional<std::string> folder = existingFolderAbove(files.front());
    return folder ? FileList{*folder} : files;
}

void TgaActionRunnerLauncher::ARL_ExecuteScript(const std::string& scriptPath, const FileList& fileList) {
    runScriptProgram({scriptPath, scriptArgument(fileList)});
}

void TgaActionRunnerLauncher::ARL_ExecuteScriptToPanther(const std::string& scriptPath,
                                                         const FileList& fileList) {
    runScriptProgram({scriptPath, "scan_event", scriptArgument(fileList)});
}

} // namespace trigora
