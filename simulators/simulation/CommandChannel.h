#pragma once

#include "simulators/simulation/LocalSocket.h"
#include "simulators/simulation/Simulation.h"

#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace trigora::simulators {

/// Takes commands on a socket in the simulation's folder: JSON objects, one a line, each answered by one
/// line. Four threads do so, and carry the commands out on themselves. A command that cannot be understood is
/// answered {"error": a sentence}.
///
/// Stopped, or started. Starting and stopping by one thread at a time, which is none of the channel's own.
class CommandChannel {
public:
    using Handler = std::function<json(const json& command)>;

    explicit CommandChannel(std::string socketName) : socketName_(std::move(socketName)) {}
    CommandChannel(const CommandChannel&) = delete;
    CommandChannel& operator=(const CommandChannel&) = delete;
    ~CommandChannel() { stop(); }

    /// False when the socket cannot be made. The handler runs on several threads at once.
    bool start(Handler handler);
    /// Returns when the commands under way have been carried out.
    void stop();
    bool isRunning() const { return !threads_.empty(); }
    /// Whether a stop waits for the commands under way. Any thread.
    bool isStopping() const;

private:
    void serve() const;
    json answerTo(const std::string& line) const;

    const std::string socketName_;
    Handler handler_;
    Socket listener_;
    Socket stopSignal_; ///< readable for good once the channel is to stop
    std::vector<std::thread> threads_;
};

} // namespace trigora::simulators
