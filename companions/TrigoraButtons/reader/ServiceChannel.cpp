#include "companions/TrigoraButtons/reader/ServiceChannel.h"

#include <poll.h>
#include <sys/socket.h>

#include <algorithm>
#include <utility>

namespace trigora::buttons {

void ServiceChannel::send(ReaderMessage::Kind kind, std::vector<std::string> fields) const {
    const std::vector<std::uint8_t> bytes = encodeReaderMessage({.kind = kind, .fields = std::move(fields)});
    ::send(socket_, bytes.data(), bytes.size(), MSG_NOSIGNAL);
}

bool ServiceChannel::isToldToLetGo(std::chrono::milliseconds wait) const {
    pollfd waited{socket_, POLLIN, 0};
    // Whatever comes, and the channel's end, mean the same.
    return ::poll(&waited, 1, static_cast<int>(std::max<std::int64_t>(wait.count(), 0))) != 0;
}

} // namespace trigora::buttons
