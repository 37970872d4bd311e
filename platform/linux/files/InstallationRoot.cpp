#include "platform/linux/files/InstallationRoot.h"

#include "platform/Text.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <filesystem>
#include <optional>

namespace trigora::platform {

namespace {

constexpr std::array<std::string_view, 4> installedPrefixes = {"/Applications", "/Library", "/Users/Shared",
                                                               "/usr/bin/osascript"};
/// Where programs of the installed tree lie.
constexpr std::array<std::string_view, 3> programPlaces = {"/Applications/Pelox Software/",
                                                           "/usr/bin/osascript", "/usr/bin/trigoractl"};

/// Whether the path is the folder or lies below it.
bool isWithin(std::string_view path, std::string_view folder) {
    return path.substr(0, folder.size()) == folder &&
           (path.size() == folder.size() || path[folder.size()] == '/');
}

bool isInstalledPath(std::string_view path) {
    return std::any_of(installedPrefixes.begin(), installedPrefixes.end(),
                       [&](std::string_view prefix) { return isWithin(path, prefix); });
}

std::string absolutePath(std::string_view path) {
    std::error_code error;
    const std::filesystem::path absolute = std::filesystem::absolute(path, error);
    return std::string(
        withoutTrailingSlashes(error ? std::string(path) : absolute.lexically_normal().string()));
}

std::string withLinksResolved(const std::string& path) {
    std::error_code error;
    const std::filesystem::path resolved = std::filesystem::weakly_canonical(path, error);
    return error ? path : std::string(withoutTrailingSlashes(resolved.string()));
}

/// The root that the executable's own place shows.
std::optional<std::string> rootOfExecutable() {
    std::error_code error;
    const std::string executable = std::filesystem::read_symlink("/proc/self/exe", error).string();
    for (const std::string_view place : programPlaces) {
        const std::size_t found = executable.rfind(place);
        const bool ends = place.back() == '/' || found + place.size() == executable.size();
        if (found != std::string::npos && ends) {
            return executable.substr(0, found);
        }
    }
    return std::nullopt;
}

} // namespace

InstallationRoot::InstallationRoot(std::string_view root)
    : root_(root.empty() ? "/" : absolutePath(root)), resolvedRoot_(withLinksResolved(root_)) {}

std::string InstallationRoot::onDisk(std::string_view path) const {
    // A root may itself lie in a folder such as "/Users/Shared"; what is below it is relocated already.
    if (root_ == "/" || !isInstalledPath(path) || isWithin(path, root_)) {
        return std::string(path);
    }
    return root_ + std::string(path);
}

std::string InstallationRoot::asInstalled(std::string_view path) const {
    for (const std::string& root : {root_, resolvedRoot_}) {
        if (root != "/" && isWithin(path, root) && isInstalledPath(path.substr(root.size()))) {
            return std::string(path.substr(root.size()));
        }
    }
    return std::string(path);
}

InstallationRoot InstallationRoot::choose(std::string_view option) {
    if (!option.empty()) {
        return InstallationRoot(option);
    }
    // Only read at the start of a program, before it has threads.
    const char* variable = std::getenv("TRIGORA_ROOT");
    if (variable != nullptr && *variable != '\0') {
        return InstallationRoot(variable);
    }
    return InstallationRoot(rootOfExecutable().value_or("/"));
}

} // namespace trigora::platform
