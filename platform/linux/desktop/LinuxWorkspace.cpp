#include "platform/linux/desktop/LinuxWorkspace.h"

#include "platform/FileSystem.h"
#include "platform/Text.h"
#include "platform/linux/files/DiskPath.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <unistd.h>

namespace trigora::platform {

namespace {

constexpr std::int32_t unknownFailure = -10810;
constexpr const char* applications = "/Applications";
constexpr const char* finder = "Finder";
constexpr const char* folderOpener = "xdg-open";

/// A program on PATH; empty when there is none of that name.
std::string programNamed(const std::string& name) {
    const char* variable = std::getenv("PATH");
    const std::string folders = variable == nullptr ? "/usr/local/bin:/usr/bin:/bin" : variable;
    for (const std::string& folder : componentsSeparatedByString(folders, ":")) {
        std::string program = appendingPathComponent(folder, name);
        if (!folder.empty() && folder.front() == '/' && ::access(program.c_str(), X_OK) == 0) {
            return program;
        }
    }
    return {};
}

/// A file's path that no program takes for an option or an address.
std::string asArgument(const std::string& path) {
    return !path.empty() && path.front() == '/' ? path : "./" + path;
}

} // namespace

LinuxWorkspace::LinuxWorkspace(const InstallationRoot& root, FileSystem& fileSystem, Bundles& bundles,
                               Processes& processes)
    : root_(root), fileSystem_(fileSystem), bundles_(bundles), processes_(processes) {}

bool LinuxWorkspace::openFile(const std::string& path, const std::string& application) {
    if (application == finder && fileSystem_.exists(path) && !fileSystem_.isDirectory(path)) {
        return showFile(path);
    }
    Command command = commandFor(application);
    if (command.program.empty() || !fileSystem_.exists(path)) {
        return false;
    }
    command.arguments.push_back(asArgument(diskPath(root_, path)));
    return processes_.launch(command.program, command.arguments).has_value();
}

bool LinuxWorkspace::showFile(const std::string& path) {
    std::error_code error;
    const std::string file =
        std::filesystem::absolute(diskPath(root_, path), error).lexically_normal().string();
    const std::string opener = programNamed(folderOpener);
    return fileManager_.show(file) ||
           (!opener.empty() && processes_.launch(opener, {deletingLastPathComponent(file)}).has_value());
}

ApplicationLaunch LinuxWorkspace::launchApplication(const std::string& path) {
    if (!fileSystem_.exists(path)) {
        return {fnfErr, 0};
    }
    const Command command = commandFor(path);
    if (command.program.empty()) {
        return {unknownFailure, 0};
    }
    const bool isBundle = command.program != path && command.arguments.empty();
    const std::optional<std::int32_t> running = isBundle ? runningProcess(command.program) : std::nullopt;
    const auto processID = running ? running : processes_.launch(command.program, command.arguments);
    return processID ? ApplicationLaunch{0, *processID} : ApplicationLaunch{unknownFailure, 0};
}

std::optional<std::string> LinuxWorkspace::findApplication(const std::string& bundleIdentifier) {
    for (const std::string& path : installedApplications()) {
        const std::shared_ptr<Bundle> bundle = bundles_.create(path);
        if (bundle && textAt(bundle->infoDictionary(), "CFBundleIdentifier") == bundleIdentifier) {
            return path;
        }
    }
    return std::nullopt;
}

std::optional<std::int32_t> LinuxWorkspace::runningProcess(const std::string& program) {
    const std::vector<ProcessInformation> processes = processes_.list();
    const auto running = std::ranges::find(processes, program, &ProcessInformation::executablePath);
    return running == processes.end() ? std::nullopt : std::optional(running->processID);
}

LinuxWorkspace::Command LinuxWorkspace::commandFor(const std::string& application) {
    if (application == finder) {
        return {programNamed(folderOpener), {}};
    }
    const bool isName = application.find('/') == std::string::npos;
    const std::string bundlePath = isName ? bundleNamed(application) : application;
    if (const std::shared_ptr<Bundle> bundle = bundles_.create(bundlePath)) {
        return {bundle->executablePath().value_or(""), {}};
    }
    if (pathExtension(application) == "desktop" && !isName) {
        return {programNamed("gio"), {"launch", diskPath(root_, application)}};
    }
    const bool isProgram =
        !isName && fileSystem_.exists(application) && !fileSystem_.isDirectory(application);
    return {isName ? programNamed(application) : (isProgram ? application : std::string()), {}};
}

std::string LinuxWorkspace::bundleNamed(const std::string& name) {
    const std::vector<std::string> paths = installedApplications();
    const auto found = std::find_if(paths.begin(), paths.end(), [&](const std::string& path) {
        return lastPathComponent(path) == name || displayNameAtPath(path) == name;
    });
    return found == paths.end() ? std::string() : *found;
}

std::vector<std::string> LinuxWorkspace::installedApplications() {
    std::vector<std::string> bundles;
    std::vector<std::string> folders{applications};
    for (const std::string& name :
         fileSystem_.contentsOfDirectory(applications).value_or(std::vector<std::string>())) {
        folders.push_back(appendingPathComponent(applications, name));
    }
    for (const std::string& folder : folders) {
        if (pathExtension(folder) == "app") {
            continue; // what lies inside a bundle is not installed on its own
        }
        for (const std::string& name :
             fileSystem_.contentsOfDirectory(folder).value_or(std::vector<std::string>())) {
            if (pathExtension(name) == "app") {
                bundles.push_back(appendingPathComponent(folder, name));
            }
        }
    }
    return bundles;
}

} // namespace trigora::platform
