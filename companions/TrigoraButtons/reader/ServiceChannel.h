#pragma once

#include "companions/TrigoraButtons/messages/ReaderMessage.h"

#include <chrono>

namespace trigora::buttons {

/// The way to the service: a socket of packets.
class ServiceChannel {
public:
    explicit ServiceChannel(int socket) : socket_(socket) {}

    /// What the service no longer hears is lost.
    void send(ReaderMessage::Kind kind, std::vector<std::string> fields = {}) const;
    /// Waits so long at most; true when the service wants the scanner let go, or is gone.
    bool isToldToLetGo(std::chrono::milliseconds wait) const;

private:
    const int socket_;
};

} // namespace trigora::buttons
