#include "tools/commands/CommandLog.h"

#include "agent/log/PSlog.h"
#include "files/FileManagerExtension.h"
#include "platform/Clock.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"
#include "platform/Text.h"
#include "tools/frame/Report.h"
#include "tools/settings/SettingsSession.h"
#include "tools/words/Wording.h"

#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <map>

namespace trigora::tools {

namespace {

constexpr std::array switchOptions{jsonOption, rootOption};
constexpr std::array followOptions{Option{"all", "", "first what has been logged already"},
                                   Option{"timeout", "SECONDS", "stop after so many seconds"}, rootOption};

constexpr std::string_view logOnExamples = "  trigoractl log on\n";
constexpr std::string_view logOffExamples = "  trigoractl log off\n";
constexpr std::string_view logFollowExamples = "  trigoractl log on && trigoractl log follow\n"
                                               "  trigoractl log follow --all --timeout 60\n";

std::string timeStamp() {
    const auto seconds = static_cast<std::time_t>(platform::current().clock.wallTime().seconds);
    std::tm local{};
    ::localtime_r(&seconds, &local);
    std::array<char, 32> text{};
    const std::size_t length = std::strftime(text.data(), text.size(), "%Y-%m-%d %H.%M.%S", &local);
    return {text.data(), length};
}

/// A name beside the log folder that is not taken.
std::string asidePath() {
    const std::string path = logSwitchFolder() + " " + timeStamp();
    std::string free = path;
    for (int number = 2; platform::current().fileSystem.exists(free); ++number) {
        free = path + " " + std::to_string(number);
    }
    return free;
}

/// One sentence, or with "--json" one object.
void tell(const Arguments& arguments, bool isOn, const std::string& pathOfLog, const std::string& sentence,
          std::ostream& out) {
    if (arguments.has("json")) {
        printJson(out, Dictionary{{"log", isOn}, {"folder", pathOfLog.empty() ? Value() : Value(pathOfLog)}});
    } else {
        out << sentence << '\n';
    }
}

ExitCode logOn(const Arguments& arguments, std::ostream& out, std::ostream&) {
    requireInstallation(rootOf(arguments));
    const std::string& folder = logSwitchFolder();
    const std::string shown = rootOf(arguments).onDisk(folder);
    if (isLogSwitchedOn()) {
        tell(arguments, true, shown, "The log is on already; it is written to " + shown + ".", out);
        return done;
    }
    if (platform::current().fileSystem.exists(folder)) {
        throw Failure(failed, shown + " is in the way: it is no folder");
    }
    // Every user's programs log here, but none may put something of his own in another's place.
    FileAttributes onlyOwnerChanges;
    onlyOwnerChanges.posixPermissions = 0755;
    exCreateDirectoryAtPath(platform::deletingLastPathComponent(folder), true, onlyOwnerChanges);
    if (!exCreateDirectoryAtPath(folder, false, platform::attributesSharedByAll(01777))) {
        throw Failure(failed, "the folder " + shown + " cannot be made; has the user the right to?");
    }
    tell(arguments, true, shown, "The log is on; it is written to " + shown + ".", out);
    return done;
}

ExitCode logOff(const Arguments& arguments, std::ostream& out, std::ostream&) {
    const std::string& folder = logSwitchFolder();
    if (!isLogSwitchedOn()) {
        tell(arguments, false, "", "The log is off already.", out);
        return done;
    }
    const std::string aside = asidePath();
    if (!exMovePath(folder, aside)) {
        throw Failure(failed, rootOf(arguments).onDisk(folder) +
                                  " cannot be renamed, so the log stays on; has the user the right to?");
    }
    const std::string shown = rootOf(arguments).onDisk(aside);
    tell(arguments, false, shown, "The log is off; what was logged is in " + shown + ".", out);
    return done;
}

/// The log files of all programs, by their paths on this disk.
std::vector<std::filesystem::path> logFiles(const std::string& folderOnDisk) {
    std::vector<std::filesystem::path> files;
    std::error_code error;
    for (std::filesystem::directory_iterator entry(folderOnDisk, error), end; !error && entry != end;
         entry.increment(error)) {
        const std::filesystem::path file = entry->path() / "log.log";
        std::error_code ignored;
        if (std::filesystem::is_regular_file(file, ignored)) {
            files.push_back(file);
        }
    }
    return files;
}

/// Prints what log files grow by.
class LogFollower {
public:
    LogFollower(std::string folderOnDisk, std::ostream& out) : folder_(std::move(folderOnDisk)), out_(out) {}

    /// Passes over what has been logged already.
    void skip() {
        for (const auto& path : logFiles(folder_)) {
            LogFile& file = files_[path] = LogFile(path);
            file.position = file.size();
        }
    }

    /// Whole lines only; the beginning of one waits for its end.
    void print() {
        for (const auto& path : logFiles(folder_)) {
            LogFile& file = files_[path];
            if (!file.isAt(path)) {
                printRest(file);
                file = LogFile(path);
            }
        }
        printKnown();
    }

    /// The same for the files that have been seen, wherever they are now.
    void printKnown() {
        for (auto& [path, file] : files_) {
            printRest(file);
        }
        out_.flush();
    }

private:
    /// Held open, because the folder is renamed when the log is switched off.
    struct LogFile {
        LogFile() = default;
        explicit LogFile(const std::filesystem::path& path) : stream(path, std::ios::binary) {
            struct stat item {};
            identity = ::stat(path.c_str(), &item) == 0 ? item.st_ino : 0;
        }

        bool isAt(const std::filesystem::path& path) const {
            struct stat item {};
            return stream.is_open() && ::stat(path.c_str(), &item) == 0 && item.st_ino == identity;
        }
        std::streamoff size() {
            stream.clear();
            stream.seekg(0, std::ios::end);
            return std::max<std::streamoff>(stream.tellg(), 0);
        }

        std::ifstream stream;
        ino_t identity = 0;
        std::streamoff position = 0;
    };

    void printRest(LogFile& file) {
        const std::streamoff size = file.stream.is_open() ? file.size() : 0;
        if (size < file.position) {
            file.position = 0; // begun anew
        }
        if (size <= file.position) {
            return;
        }
        file.stream.seekg(file.position);
        for (std::string line; std::getline(file.stream, line) && !file.stream.eof();) {
            file.position += static_cast<std::streamoff>(line.size()) + 1;
            out_ << printable(line) << '\n';
        }
    }

    std::string folder_;
    std::ostream& out_;
    std::map<std::filesystem::path, LogFile> files_;
};

ExitCode logFollow(const Arguments& arguments, std::ostream& out, std::ostream& err) {
    constexpr std::int64_t pollMicroseconds = 200'000;
    const std::int64_t seconds = arguments.integer("timeout", 0, 1, secondsOfDay);
    if (!isLogSwitchedOn()) {
        throw Failure(notFound, "the log is off; trigoractl log on switches it on");
    }
    LogFollower follower(rootOf(arguments).onDisk(logSwitchFolder()), out);
    if (!arguments.has("all")) {
        follower.skip();
    }
    platform::Clock& clock = platform::current().clock;
    const double start = clock.monotonicSeconds();
    while (seconds == 0 || clock.monotonicSeconds() - start < static_cast<double>(seconds)) {
        if (!isLogSwitchedOn()) {
            follower.printKnown();
            err << "trigoractl: the log was switched off\n";
            return done;
        }
        follower.print();
        if (!out) {
            return done; // nobody reads any more
        }
        clock.sleepMicroseconds(pollMicroseconds);
    }
    follower.print();
    return done;
}

} // namespace

Command logOnCommand() {
    return {.name = "log on",
            .operands = "",
            .summary = "Switches the log on.",
            .options = switchOptions,
            .run = logOn,
            .details = "Programs of the system that run already log from then on, too.\n",
            .examples = logOnExamples,
            .usesPlatform = true};
}

Command logOffCommand() {
    return {.name = "log off",
            .operands = "",
            .summary = "Switches the log off and keeps what was logged.",
            .options = switchOptions,
            .run = logOff,
            .details =
                "The log folder is renamed with the date and time behind its name. Nothing is deleted.\n",
            .examples = logOffExamples,
            .usesPlatform = true};
}

Command logFollowCommand() {
    return {.name = "log follow",
            .operands = "",
            .summary = "Prints what is logged, as it is logged.",
            .options = followOptions,
            .run = logFollow,
            .details = "",
            .examples = logFollowExamples,
            .usesPlatform = true};
}

} // namespace trigora::tools
