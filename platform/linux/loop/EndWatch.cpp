#include "platform/linux/loop/EndWatch.h"

#include "platform/Guarded.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <iterator>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/signalfd.h>
#include <system_error>
#include <unistd.h>

namespace trigora::platform {

namespace {

FileDescriptor signalsThatEnd() {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGTERM);
    sigaddset(&signals, SIGINT);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    return FileDescriptor(signalfd(-1, &signals, SFD_CLOEXEC | SFD_NONBLOCK));
}

} // namespace

EndWatch::EndWatch(RunLoop& loop, int connection, std::chrono::milliseconds time,
                   std::function<void()> endByForce)
    : loop_(loop), time_(time), endByForce_(std::move(endByForce)), signals_(signalsThatEnd()),
      // Its number stays, whatever becomes of the caller's.
      connection_(connection < 0 ? -1 : fcntl(connection, F_DUPFD_CLOEXEC, 0)),
      ended_(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK)) {
    if (!signals_ || !ended_) {
        throw std::system_error(errno, std::generic_category(), "watching for the end");
    }
    thread_ = std::thread([this] { watch(); });
}

EndWatch::~EndWatch() {
    [[maybe_unused]] const int result = eventfd_write(ended_.get(), 1);
    thread_.join();
}

void EndWatch::watch() {
    pollfd awaited[] = {
        {ended_.get(), POLLIN, 0}, {signals_.get(), POLLIN, 0}, {connection_.get(), POLLRDHUP, 0}};
    while (poll(awaited, std::size(awaited), -1) < 0 && errno == EINTR) {
    }
    if (awaited[0].revents != 0) {
        return;
    }
    signalfd_siginfo taken{};
    [[maybe_unused]] const ssize_t size = read(signals_.get(), &taken, sizeof taken);
    loop_.stop(EXIT_SUCCESS);
    int events = 0;
    const auto end = std::chrono::steady_clock::now() + time_;
    do {
        const auto left =
            std::chrono::ceil<std::chrono::milliseconds>(end - std::chrono::steady_clock::now());
        events =
            poll(awaited, 1, static_cast<int>(std::max<std::chrono::milliseconds::rep>(left.count(), 0)));
    } while (events < 0 && errno == EINTR);
    if (events == 0) {
        guarded(endByForce_);
    }
}

} // namespace trigora::platform
