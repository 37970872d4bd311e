// Stands where the agent looks for "/usr/bin/osascript": runs the script given as first argument by the
// script's own interpreter line, with the remaining arguments. No shell takes part, and the script need not
// be executable.
//
//     osascript SCRIPT [ARGUMENT...]
//
// Exit status: the script's own; 2 without a script, 127 when there is no such script, 126 when it cannot be
// run.

#include "platform/Text.h"
#include "platform/linux/files/DiskPath.h"

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <exception>
#include <fcntl.h>
#include <optional>
#include <vector>

namespace {

using namespace trigora::platform;

constexpr int badUsage = 2;
constexpr int cannotRun = 126;
constexpr int noSuchScript = 127;

int fail(int status, const std::string& subject, const char* reason) {
    std::fprintf(stderr, "osascript: %s: %s\n", subject.c_str(), reason);
    return status;
}

/// Interpreter and, after blanks, all that follows as one argument, as the kernel reads the line. None
/// without such a line.
std::optional<std::vector<std::string>> interpreterOf(int script) {
    std::array<char, 4096> start = {};
    const ssize_t length = ::read(script, start.data(), start.size());
    const std::string_view text(start.data(), length < 0 ? 0 : static_cast<std::size_t>(length));
    const std::size_t end = text.find('\n');
    if (text.substr(0, 2) != "#!" || end == std::string_view::npos) {
        return std::nullopt;
    }
    const std::string line = trimmed(text.substr(2, end - 2), " \t\r");
    const std::size_t blank = line.find_first_of(" \t");
    std::vector<std::string> words{line.substr(0, blank)};
    if (blank != std::string::npos) {
        words.push_back(trimmed(line.substr(blank), " \t"));
    }
    return words.front().empty() ? std::nullopt : std::optional(words);
}

/// Becomes the interpreter; returns only when that fails.
int run(const std::string& script, char** arguments) {
    const InstallationRoot root = InstallationRoot::choose("");
    const std::string path = diskPath(root, script);
    std::optional<std::vector<std::string>> words;
    {
        const FileDescriptor file = openRegularFile(path, O_RDONLY);
        if (!file) {
            return fail(noSuchScript, script, "there is no such file, or it cannot be read");
        }
        words = interpreterOf(file.get());
    }
    if (!words) {
        return fail(cannotRun, script, "the script does not begin with an interpreter line (#!)");
    }
    // A path that begins with "-" would be an option.
    words->push_back(path.front() == '-' ? "./" + path : path);
    std::vector<char*> pointers;
    for (std::string& word : *words) {
        pointers.push_back(word.data());
    }
    // Paths of scanned files are relocated like the script's own; the script does not know the root.
    std::vector<std::string> relocated;
    for (; *arguments != nullptr; ++arguments) {
        relocated.push_back(root.onDisk(*arguments));
    }
    for (std::string& argument : relocated) {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    ::execv(pointers.front(), pointers.data());
    return fail(cannotRun, words->front(), std::strerror(errno));
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2 || *argv[1] == '\0') {
        std::fputs("usage: osascript SCRIPT [ARGUMENT...]\n", stderr);
        return badUsage;
    }
    try {
        return run(argv[1], argv + 2);
    } catch (const std::exception& exception) {
        return fail(cannotRun, argv[1], exception.what());
    }
}
