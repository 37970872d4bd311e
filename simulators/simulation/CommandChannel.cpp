#include "simulators/simulation/CommandChannel.h"

#include <exception>
#include <poll.h>
#include <sys/eventfd.h>
#include <unistd.h>

namespace trigora::simulators {

namespace {

constexpr int threadCount = 4;
constexpr std::chrono::seconds longestSilence{10};

} // namespace

bool CommandChannel::start(Handler handler) {
    const std::optional<std::string> folder = simulationFolder();
    if (isRunning() || !folder) {
        return isRunning();
    }
    handler_ = std::move(handler);
    listener_ = listenIn(*folder, socketName_);
    stopSignal_ = Socket(eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK));
    if (!listener_.isOpen() || !stopSignal_.isOpen()) {
        return false;
    }
    for (int i = 0; i < threadCount; ++i) {
        threads_.emplace_back([this] { serve(); });
    }
    return true;
}

void CommandChannel::stop() {
    if (!isRunning()) {
        return;
    }
    eventfd_write(stopSignal_.number(), 1);
    for (std::thread& thread : threads_) {
        thread.join();
    }
    threads_.clear();
    listener_ = Socket();
    if (const std::optional<std::string> folder = simulationFolder()) {
        unlink((*folder + "/" + socketName_).c_str());
    }
}

bool CommandChannel::isStopping() const {
    pollfd signal{stopSignal_.number(), POLLIN, 0};
    return poll(&signal, 1, 0) > 0;
}

void CommandChannel::serve() const {
    for (Socket connection = acceptFrom(listener_, stopSignal_.number()); connection.isOpen();
         connection = acceptFrom(listener_, stopSignal_.number())) {
        while (const auto line = readLine(connection, longestSilence, stopSignal_.number())) {
            if (!writeLine(connection,
                           answerTo(*line).dump(-1, ' ', false, json::error_handler_t::replace))) {
                break;
            }
        }
    }
}

json CommandChannel::answerTo(const std::string& line) const {
    try {
        const json command = json::parse(line, nullptr, false);
        return command.is_object() ? handler_(command) : json{{"error", "a command is a JSON object"}};
    } catch (const std::exception& exception) {
        return {{"error", exception.what()}};
    }
}

} // namespace trigora::simulators
