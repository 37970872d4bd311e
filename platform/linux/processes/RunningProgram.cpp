#include "platform/linux/processes/RunningProgram.h"

#include "platform/Text.h"
#include "platform/linux/files/FileDescriptor.h"
#include "platform/linux/processes/ProcFile.h"

#include <algorithm>
#include <array>
#include <climits>
#include <fcntl.h>
#include <filesystem>
#include <sstream>
#include <unistd.h>
#include <vector>

namespace trigora::platform {

namespace {

namespace fs = std::filesystem;

std::string linkOf(std::int32_t processID, const char* name) {
    return "/proc/" + std::to_string(processID) + "/" + name;
}

/// Where the kernel says the executable lies. It marks a file that has been removed or replaced since,
/// which a process does not lose its name over.
std::optional<std::string> executableOf(std::int32_t processID) {
    std::array<char, PATH_MAX> buffer = {};
    const ssize_t size = ::readlink(linkOf(processID, "exe").c_str(), buffer.data(), buffer.size());
    if (size < 0) {
        return std::nullopt;
    }
    std::string executable(buffer.data(), static_cast<std::size_t>(size));
    constexpr std::string_view mark = " (deleted)";
    std::error_code error;
    if (executable.ends_with(mark) && !fs::exists(executable, error)) {
        executable.resize(executable.size() - mark.size());
    }
    return executable;
}

/// The words that the process was started with; the first is its own name.
std::vector<std::string> wordsOf(std::int32_t processID) {
    std::string line = procFile(processID, "cmdline");
    if (line.ends_with('\0')) {
        line.pop_back();
    }
    return componentsSeparatedByString(line, std::string_view("\0", 1));
}

/// The words of a script's first line behind the "#!"; none for what is not a script.
std::vector<std::string> interpreterOf(const std::string& script) {
    std::error_code error;
    if (!fs::is_regular_file(script, error)) {
        return {};
    }
    const FileDescriptor file(::open(script.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    std::array<char, 256> buffer = {}; // as much as the kernel reads
    const ssize_t size = file ? ::read(file.get(), buffer.data(), buffer.size()) : 0;
    const std::string_view text(buffer.data(), static_cast<std::size_t>(std::max<ssize_t>(size, 0)));
    if (!text.starts_with("#!")) {
        return {};
    }
    std::istringstream line(std::string(text.substr(2, text.find('\n') - 2)));
    std::vector<std::string> words;
    for (std::string word; line >> word;) {
        words.push_back(word);
    }
    return words;
}

/// Whether the script's first line has the program started as it was. A script may name a program that looks
/// for the interpreter ("env").
bool hasInterpreter(const std::string& script, const std::string& startedAs) {
    const std::vector<std::string> interpreter = interpreterOf(script);
    return !interpreter.empty() &&
           (interpreter.front() == startedAs ||
            (lastPathComponent(interpreter.front()) == "env" &&
             std::find(interpreter.begin() + 1, interpreter.end(), startedAs) != interpreter.end()));
}

/// The script that the process interprets; none when it does not run one.
std::optional<std::string> scriptOf(std::int32_t processID) {
    const std::vector<std::string> words = wordsOf(processID);
    // The interpreter's options come before the script.
    const auto word = std::find_if(words.begin() + 1, words.end(),
                                   [](const std::string& option) { return !option.starts_with('-'); });
    if (word == words.end() || word->empty()) {
        return std::nullopt;
    }
    std::error_code error;
    const fs::path folder = fs::read_symlink(linkOf(processID, "cwd"), error);
    const std::string path = fs::weakly_canonical(folder / *word, error).string();
    return !error && hasInterpreter(path, words.front()) ? std::optional(path) : std::nullopt;
}

} // namespace

std::optional<std::string> runningProgram(std::int32_t processID) {
    const std::optional<std::string> executable = executableOf(processID);
    const std::optional<std::string> script = executable ? scriptOf(processID) : std::nullopt;
    return script ? script : executable;
}

bool mayRunProgram(std::int32_t processID, const std::string& name) {
    const std::optional<std::string> executable = executableOf(processID);
    if (!executable) {
        return false;
    }
    const std::vector<std::string> words =
        lastPathComponent(*executable) == name ? std::vector<std::string>{name} : wordsOf(processID);
    return std::any_of(words.begin(), words.end(),
                       [&](const std::string& word) { return lastPathComponent(word) == name; });
}

} // namespace trigora::platform
