#include "companions/PScanAssistant/assistant/NoticeProgram.h"

#include "platform/Formats.h"
#include "platform/Platform.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/socket.h>
#include <unistd.h>

#include <array>
#include <csignal>

namespace trigora::companions {

namespace {

constexpr std::array stateNames{"scanning", "busy", "finished", "failed"};
constexpr std::array failureNames{
    "none",        "notFound", "busy",      "cannotOpen", "noAnswer", "refusedSettings",
    "emptyFeeder", "jammed",   "coverOpen", "lost",       "broken",   "cancelled",
    "atScanner",   "folder",   "fullDisk",  "noMemory"};
static_assert(failureNames.size() == static_cast<std::size_t>(ScanFailure::Kind::noMemory) + 1);

} // namespace

Dictionary described(const ScanReport& report) {
    Array notes;
    for (const ScanNote& note : report.notes) {
        notes.emplace_back(Dictionary{{"Key", note.key},
                                      {"Text", note.english},
                                      {"Arguments", Array(note.arguments.begin(), note.arguments.end())}});
    }
    return {{"State", stateNames.at(static_cast<std::size_t>(report.state))},
            {"Driver", report.driverName},
            {"Pages", static_cast<std::int64_t>(report.pageCount)},
            {"Files", Array(report.paths.begin(), report.paths.end())},
            {"Failure", failureNames.at(static_cast<std::size_t>(report.failure.kind))},
            {"Reason", report.failure.reason},
            {"Notes", notes}};
}

NoticeProgram::~NoticeProgram() {
    if (channel_ >= 0) {
        ::close(channel_);
    }
}

void NoticeProgram::report(const ScanReport& report) {
    const std::lock_guard lock(mutex_);
    if (channel_ < 0 && (hasTried_ || !start())) {
        return;
    }
    const std::string line = platform::current().json.write(Value(described(report))) + '\n';
    // A program that does not read is not waited for.
    ::send(channel_, line.data(), line.size(), MSG_DONTWAIT | MSG_NOSIGNAL);
}

bool NoticeProgram::start() {
    hasTried_ = true;
    std::array<int, 2> ends{};
    if (::access(program_.c_str(), X_OK) != 0 ||
        ::socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        return false;
    }
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, ends[1], STDIN_FILENO);
    posix_spawnattr_t attributes;
    ::posix_spawnattr_init(&attributes);
    sigset_t none;
    sigset_t piped;
    ::sigemptyset(&none);
    ::sigemptyset(&piped);
    ::sigaddset(&piped, SIGPIPE);
    ::posix_spawnattr_setsigmask(&attributes, &none);
    ::posix_spawnattr_setsigdefault(&attributes, &piped);
    ::posix_spawnattr_setflags(&attributes, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    std::array<char*, 2> arguments{const_cast<char*>(program_.c_str()), nullptr};
    pid_t process = 0;
    const int failed =
        ::posix_spawn(&process, program_.c_str(), &actions, &attributes, arguments.data(), environ);
    ::posix_spawnattr_destroy(&attributes);
    ::posix_spawn_file_actions_destroy(&actions);
    ::close(ends[1]);
    if (failed != 0) {
        ::close(ends[0]);
        return false;
    }
    channel_ = ends[0];
    return true;
}

} // namespace trigora::companions
