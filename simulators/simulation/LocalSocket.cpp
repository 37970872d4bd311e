#include "simulators/simulation/LocalSocket.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <string_view>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>
#include <unistd.h>

namespace trigora::simulators {

namespace {

using Clock = std::chrono::steady_clock;
constexpr std::size_t longestLine = std::size_t{1} << 20;
constexpr int waitingConnections = 64;
constexpr std::chrono::seconds writeTimeOut{5};
constexpr std::chrono::milliseconds pauseAfterRefusal{10}; ///< no turning round and round without descriptors

/// A socket's address has room for some hundred bytes only, so the folder is named by a descriptor.
class AddressInFolder {
public:
    AddressInFolder(const std::string& folder, const std::string& name)
        : folder_(open(folder.c_str(), O_PATH | O_DIRECTORY | O_CLOEXEC)) {
        const std::string path = "/proc/self/fd/" + std::to_string(folder_.number()) + "/" + name;
        isValid_ = folder_.isOpen() && path.size() < sizeof address_.sun_path;
        address_.sun_family = AF_UNIX;
        std::copy_n(path.begin(), std::min(path.size(), sizeof address_.sun_path - 1), address_.sun_path);
    }
    bool isValid() const { return isValid_; }
    const char* path() const { return address_.sun_path; }
    const sockaddr* address() const { return reinterpret_cast<const sockaddr*>(&address_); }
    static socklen_t size() { return sizeof(sockaddr_un); }

private:
    Socket folder_;
    sockaddr_un address_{};
    bool isValid_ = false;
};

Socket newSocket(int flags) { return Socket(socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | flags, 0)); }

/// False when the stop descriptor is readable, or the time is up. Negative time-outs never are.
bool waitFor(int descriptor, short events, int stopDescriptor, std::chrono::milliseconds timeOut) {
    pollfd descriptors[] = {{descriptor, events, 0}, {stopDescriptor, POLLIN, 0}};
    const int ready = poll(descriptors, 2, static_cast<int>(timeOut.count()));
    return ready > 0 && descriptors[1].revents == 0;
}

std::chrono::milliseconds timeUntil(Clock::time_point moment) {
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(moment - Clock::now());
    return std::max(left, std::chrono::milliseconds(0));
}

} // namespace

Socket::~Socket() {
    if (number_ >= 0) {
        close(number_);
    }
}

Socket listenIn(const std::string& folder, const std::string& name) {
    const AddressInFolder address(folder, name);
    Socket listener = newSocket(SOCK_NONBLOCK);
    if (!address.isValid() || !listener.isOpen()) {
        return Socket();
    }
    unlink(address.path());
    const bool listens = bind(listener.number(), address.address(), AddressInFolder::size()) == 0 &&
                         listen(listener.number(), waitingConnections) == 0;
    return listens ? std::move(listener) : Socket();
}

Socket connectIn(const std::string& folder, const std::string& name) {
    const AddressInFolder address(folder, name);
    Socket connection = newSocket(0);
    const bool isConnected = address.isValid() && connection.isOpen() &&
                             connect(connection.number(), address.address(), AddressInFolder::size()) == 0;
    return isConnected ? std::move(connection) : Socket();
}

Socket acceptFrom(const Socket& listener, int stopDescriptor) {
    while (waitFor(listener.number(), POLLIN, stopDescriptor, std::chrono::milliseconds(-1))) {
        // Another thread may have been quicker.
        Socket connection(accept4(listener.number(), nullptr, nullptr, SOCK_CLOEXEC));
        if (connection.isOpen()) {
            return connection;
        }
        std::this_thread::sleep_for(pauseAfterRefusal);
    }
    return Socket();
}

std::optional<std::string> readLine(const Socket& connection, std::chrono::milliseconds timeOut,
                                    int stopDescriptor) {
    const Clock::time_point deadline = Clock::now() + timeOut;
    std::string line;
    std::array<char, 4096> buffer;
    while (line.size() < longestLine &&
           waitFor(connection.number(), POLLIN, stopDescriptor, timeUntil(deadline))) {
        // What comes behind the line stays for the next reading.
        const ssize_t seen = recv(connection.number(), buffer.data(), buffer.size(), MSG_DONTWAIT | MSG_PEEK);
        if (seen <= 0) {
            return std::nullopt;
        }
        const std::string_view bytes(buffer.data(), static_cast<std::size_t>(seen));
        const std::size_t end = bytes.find('\n');
        const bool isWhole = end != std::string_view::npos;
        line += bytes.substr(0, end);
        recv(connection.number(), buffer.data(), isWhole ? end + 1 : bytes.size(), MSG_DONTWAIT);
        if (isWhole) {
            return line;
        }
    }
    return std::nullopt;
}

bool writeLine(const Socket& connection, const std::string& line) {
    const Clock::time_point deadline = Clock::now() + writeTimeOut;
    const std::string text = line + "\n";
    std::size_t written = 0;
    while (written < text.size() && waitFor(connection.number(), POLLOUT, -1, timeUntil(deadline))) {
        const ssize_t count = send(connection.number(), text.data() + written, text.size() - written,
                                   MSG_NOSIGNAL | MSG_DONTWAIT);
        if (count < 0) {
            return false;
        }
        written += static_cast<std::size_t>(count);
    }
    return written == text.size();
}

} // namespace trigora::simulators
