#include "companions/TrigoraButtons/reading/ReaderProcess.h"

#include "platform/Guarded.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/epoll.h>
#include <sys/socket.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <utility>

namespace trigora::buttons {

namespace {

/// How the process went, when it did not say so itself.
ReaderEnd endOf(int status) {
    if (WIFSIGNALED(status) && WTERMSIG(status) == SIGKILL) {
        return {.words = "the scanner's back-end did not come back in time and was ended"};
    }
    if (WIFSIGNALED(status)) {
        return {.words = "the scanner's back-end crashed: " + std::string(::strsignal(WTERMSIG(status)))};
    }
    return {.words = "the scanner's back-end ended the program that reads the scanner"};
}

/// The signals that the service handles in its own way are the usual ones for the reader.
class SpawnAttributes {
public:
    SpawnAttributes() {
        ::posix_spawnattr_init(&attributes_);
        sigset_t none;
        sigemptyset(&none);
        ::posix_spawnattr_setsigmask(&attributes_, &none);
        sigset_t usual;
        sigfillset(&usual);
        ::posix_spawnattr_setsigdefault(&attributes_, &usual);
        ::posix_spawnattr_setflags(&attributes_, POSIX_SPAWN_SETSIGMASK | POSIX_SPAWN_SETSIGDEF);
    }
    SpawnAttributes(const SpawnAttributes&) = delete;
    SpawnAttributes& operator=(const SpawnAttributes&) = delete;
    ~SpawnAttributes() { ::posix_spawnattr_destroy(&attributes_); }

    const posix_spawnattr_t* get() const { return &attributes_; }

private:
    posix_spawnattr_t attributes_{};
};

/// The channel becomes the standard input; what a back-end prints goes to the service's standard error.
class SpawnFiles {
public:
    explicit SpawnFiles(int channel) {
        ::posix_spawn_file_actions_init(&actions_);
        ::posix_spawn_file_actions_adddup2(&actions_, channel, STDIN_FILENO);
        ::posix_spawn_file_actions_adddup2(&actions_, STDERR_FILENO, STDOUT_FILENO);
    }
    SpawnFiles(const SpawnFiles&) = delete;
    SpawnFiles& operator=(const SpawnFiles&) = delete;
    ~SpawnFiles() { ::posix_spawn_file_actions_destroy(&actions_); }

    const posix_spawn_file_actions_t* get() const { return &actions_; }

private:
    posix_spawn_file_actions_t actions_{};
};

} // namespace

ReaderProcess::ReaderProcess(platform::LinuxRunLoop& loop, ReaderProcessIDs& running,
                             const std::string& program, const std::vector<std::string>& arguments,
                             Events events)
    : loop_(loop), running_(running), events_(std::move(events)) {
    start(program, arguments);
    if (processID_ == 0) {
        loop_.performOnMainThread([alive = std::weak_ptr(alive_)] {
            if (const auto self = alive.lock()) {
                (*self)->channelEnded();
            }
        });
    }
}

ReaderProcess::~ReaderProcess() {
    source_.reset();
    if (processID_ != 0) {
        ::kill(processID_, SIGKILL);
        // It may not go at once when the kernel waits for its device.
        loop_.whenProcessExits(processID_, [processID = processID_, &running = running_] {
            ::waitpid(processID, nullptr, 0);
            running.erase(processID);
        });
    }
}

void ReaderProcess::send(const ReaderMessage& message) const {
    const std::vector<std::uint8_t> bytes = encodeReaderMessage(message);
    ::send(channel_.get(), bytes.data(), bytes.size(), MSG_NOSIGNAL | MSG_DONTWAIT);
}

void ReaderProcess::start(const std::string& program, const std::vector<std::string>& arguments) {
    std::array<int, 2> ends{};
    if (::socketpair(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0, ends.data()) != 0) {
        end_ = ReaderEnd{.words = std::string("no socket for the reader: ") + std::strerror(errno)};
        return;
    }
    channel_ = platform::FileDescriptor(ends[0]);
    const platform::FileDescriptor theirs(ends[1]);
    ::fcntl(channel_.get(), F_SETFL, O_NONBLOCK);
    std::vector<std::string> words{program};
    words.insert(words.end(), arguments.begin(), arguments.end());
    std::vector<char*> pointers;
    pointers.reserve(words.size() + 1);
    for (std::string& word : words) {
        pointers.push_back(word.data());
    }
    pointers.push_back(nullptr);
    pid_t processID = 0;
    const int error = ::posix_spawn(&processID, program.c_str(), SpawnFiles(theirs.get()).get(),
                                    SpawnAttributes().get(), pointers.data(), environ);
    if (error != 0) {
        end_ = ReaderEnd{.refusal = Refusal::noSane,
                         .words = "the program that reads scanners cannot be started: " +
                                  std::string(std::strerror(error))};
        return;
    }
    processID_ = processID;
    running_.insert(processID);
    sd_event_source* source = nullptr;
    ::sd_event_add_io(loop_.event(), &source, channel_.get(), EPOLLIN, arrived, this);
    source_.reset(source);
}

int ReaderProcess::arrived(sd_event_source*, int, std::uint32_t, void* process) {
    platform::guarded([process] { static_cast<ReaderProcess*>(process)->receiveOne(); });
    return 0;
}

bool ReaderProcess::receiveOne() {
    std::vector<std::uint8_t> bytes(largestReaderMessage);
    const ssize_t length = ::recv(channel_.get(), bytes.data(), bytes.size(), 0);
    if (length < 0 && (errno == EAGAIN || errno == EINTR)) {
        return true;
    }
    const auto message = length > 0
                             ? decodeReaderMessage(std::span(bytes).first(static_cast<std::size_t>(length)))
                             : std::nullopt;
    if (!message) { // the channel's end, or a process that talks nonsense
        source_.reset();
        channelEnded();
        return false;
    }
    using Kind = ReaderMessage::Kind;
    if (message->kind == Kind::closed || message->kind == Kind::looked) {
        end_ = ReaderEnd{.isInOrder = true, .words = {}};
    } else if (message->kind == Kind::refused && message->fields.size() == 2) {
        end_ = ReaderEnd{.refusal = refusalNamed(message->fields[0]), .words = message->fields[1]};
    }
    const std::weak_ptr alive = alive_;
    if (end_) {
        source_.reset();
        channelEnded();
        return false;
    }
    const auto received = events_.received;
    received(*message);
    return !alive.expired();
}

void ReaderProcess::channelEnded() {
    if (!end_) {
        // It is on its way out; should it not be, it is killed. Then how it went is known.
        siginfo_t information{};
        constexpr int longestWait = 100;
        for (int i = 0; i < longestWait && information.si_pid == 0; ++i) {
            ::waitid(P_PID, static_cast<id_t>(processID_), &information, WEXITED | WNOHANG | WNOWAIT);
            ::usleep(information.si_pid == 0 ? 1000 : 0);
        }
        int status = 0;
        if (information.si_pid != 0 && ::waitpid(processID_, &status, 0) == processID_) {
            running_.erase(std::exchange(processID_, 0));
        }
        end_ = endOf(status);
    }
    const auto ended = events_.ended;
    const ReaderEnd end = *end_;
    ended(end);
}

} // namespace trigora::buttons
