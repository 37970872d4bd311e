#include "platform/Text.h"
#include "platform/linux/files/LinuxFiles.h"

#include <array>
#include <cstdlib>
#include <pwd.h>
#include <unistd.h>

namespace trigora::platform {

namespace {

/// An environment variable that holds an absolute path; empty when it does not.
std::string absolutePathVariable(const char* name) {
    const char* value = std::getenv(name);
    return value != nullptr && *value == '/' ? value : std::string();
}

std::string accountHome() {
    std::array<char, 16384> buffer = {};
    passwd record = {};
    passwd* found = nullptr;
    ::getpwuid_r(::getuid(), &record, buffer.data(), buffer.size(), &found);
    return found != nullptr && found->pw_dir != nullptr ? found->pw_dir : "/";
}

/// A text in double quotes, in which a backslash stands before a character that is meant as it is; empty
/// without the quotes. What follows the closing one does not count.
std::string unquoted(std::string_view text) {
    std::string content;
    for (std::size_t i = 1; i < text.size() && text.front() == '"'; ++i) {
        if (text[i] == '"') {
            return content;
        }
        i += text[i] == '\\' && i + 1 < text.size() ? 1U : 0U;
        content += text[i];
    }
    return {};
}

/// What a line of "user-dirs.dirs" such as `XDG_DOCUMENTS_DIR="$HOME/Papers"` names; empty for any other
/// line. The format knows absolute paths and those that begin with "$HOME".
std::string documentsFolderOfLine(std::string_view line, const std::string& home) {
    const std::string text = trimmed(line, " \t\r");
    constexpr std::string_view name = "XDG_DOCUMENTS_DIR=";
    if (text.rfind(name, 0) != 0) {
        return {};
    }
    const std::string folder = unquoted(std::string_view(text).substr(name.size()));
    constexpr std::string_view variable = "$HOME";
    if (folder == variable || folder.rfind("$HOME/", 0) == 0) {
        return appendingPathComponent(home, folder.substr(variable.size()));
    }
    return !folder.empty() && folder.front() == '/' ? folder : std::string();
}

} // namespace

std::string LinuxFolders::home() {
    const std::string variable = absolutePathVariable("HOME");
    return variable.empty() ? accountHome() : variable;
}

std::optional<std::string> LinuxFolders::documents() {
    const std::string folder = documentsPath();
    return LinuxFileSystem(root_).createDirectory(folder, true, std::nullopt) ? std::optional(folder)
                                                                              : std::nullopt;
}

std::string LinuxFolders::documentsPath() {
    const std::string configuration = absolutePathVariable("XDG_CONFIG_HOME");
    const std::string file =
        appendingPathComponent(configuration.empty() ? home() + "/.config" : configuration, "user-dirs.dirs");
    std::string folder = appendingPathComponent(home(), "Documents");
    const Data bytes = LinuxFileContents(root_).read(file, FileContents::longestSettings).value_or(Data());
    for (const std::string& line :
         componentsSeparatedByString(std::string(bytes.begin(), bytes.end()), "\n")) {
        const std::string named = documentsFolderOfLine(line, home());
        folder = named.empty() ? folder : named;
    }
    return folder;
}

std::optional<std::string> LinuxFolders::applications() {
    constexpr const char* folder = "/Applications";
    return LinuxFileSystem(root_).isDirectory(folder) ? std::optional<std::string>(folder) : std::nullopt;
}

} // namespace trigora::platform
