#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <utility>

/// Sockets in a folder, over which lines of text go to and fro.
namespace trigora::simulators {

/// Owns a descriptor.
class Socket {
public:
    explicit Socket(int number = -1) : number_(number) {}
    Socket(Socket&& other) noexcept : number_(std::exchange(other.number_, -1)) {}
    Socket& operator=(Socket&& other) noexcept {
        std::swap(number_, other.number_);
        return *this;
    }
    ~Socket();

    bool isOpen() const { return number_ >= 0; }
    int number() const { return number_; }

private:
    int number_;
};

/// A socket that takes connections under a name in the folder, in place of one that is left over there; the
/// folder's path may be of any length. Not open when that fails.
Socket listenIn(const std::string& folder, const std::string& name);
/// Not open when nobody listens there.
Socket connectIn(const std::string& folder, const std::string& name);
/// The next connection; not open when the stop descriptor (a negative one never does) becomes readable first.
Socket acceptFrom(const Socket& listener, int stopDescriptor);

/// A line without its end; none when it does not arrive in time, is longer than a megabyte, the other side
/// hangs up or the stop descriptor becomes readable.
std::optional<std::string> readLine(const Socket& connection, std::chrono::milliseconds timeOut,
                                    int stopDescriptor);
/// False when the other side does not take it within five seconds.
bool writeLine(const Socket& connection, const std::string& line);

} // namespace trigora::simulators
