// User information as it comes over the bus: a message of any shape is read, and what was read is sent on.
//
// Input: each byte says what is appended next, and its value follows.

#include "fuzz/FuzzInput.h"
#include "platform/Text.h"
#include "platform/linux/bus/BusValue.h"

#include <sys/socket.h>
#include <unistd.h>

namespace trigora::fuzz {
namespace {

namespace bus = platform::bus;
using platform::BusMessagePointer;

/// A connection to nobody: messages can be made on it, and none leaves.
class Nobody {
public:
    Nobody() {
        int ends[2] = {};
        require(socketpair(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0, ends) == 0, "there are sockets");
        sd_bus* made = nullptr;
        require(sd_bus_new(&made) >= 0 && sd_bus_set_fd(made, ends[0], ends[0]) >= 0 &&
                    sd_bus_start(made) >= 0,
                "there is a connection");
        bus_.reset(made);
        other_ = ends[1];
    }
    ~Nobody() { close(other_); }
    Nobody(const Nobody&) = delete;
    Nobody& operator=(const Nobody&) = delete;

    BusMessagePointer message() const {
        sd_bus_message* made = nullptr;
        require(sd_bus_message_new_signal(bus_.get(), &made, "/a", "a.b", "C") >= 0, "there are messages");
        return BusMessagePointer(made);
    }

private:
    platform::BusPointer bus_;
    int other_ = -1;
};

/// Appends values to a message as the input says.
class MessageWriter {
public:
    MessageWriter(FuzzInput& input, sd_bus_message* message) : input_(input), message_(message) {}

    void dictionary(int depth) {
        open('a', "{sv}");
        while (!input_.isAtEnd() && input_.byte() % 8 != 0) {
            open('e', "sv");
            text('s');
            variant(depth + 1);
            close();
        }
        close();
    }

private:
    static constexpr int deepest = 24;

    void open(char type, const char* contents) {
        require(sd_bus_message_open_container(message_, type, contents) >= 0, "a container opens");
    }
    void close() { require(sd_bus_message_close_container(message_) >= 0, "a container closes"); }

    void variant(int depth) {
        switch (input_.byte() % 12) {
        case 0:
            return number("y");
        case 1:
            return number("b");
        case 2:
            return number("x");
        case 3:
            return number("t");
        case 4:
            return number("i");
        case 5:
            return number("d");
        case 6:
            return textVariant('s', "s");
        case 7:
            return textVariant('g', "g");
        case 8:
            return container("av", depth, [&] { variant(depth + 1); });
        case 9:
            return container("aq", depth, [&] { append('q'); });
        case 10:
            return container("a{xv}", depth, [&] {
                open('e', "xv");
                append('x');
                variant(depth + 1);
                close();
            });
        default:
            open('v', "a{sv}");
            depth < deepest ? dictionary(depth + 1) : emptyDictionary();
            close();
        }
    }

    void emptyDictionary() {
        open('a', "{sv}");
        close();
    }

    void number(const char* type) {
        open('v', type);
        append(*type);
        close();
    }
    void append(char type) {
        const auto bits = input_.number<std::uint64_t>();
        const std::uint32_t truth = type == 'b' ? static_cast<std::uint32_t>(bits & 1) : 0;
        const void* value = type == 'b' ? static_cast<const void*>(&truth) : &bits;
        require(sd_bus_message_append_basic(message_, type, value) >= 0, "a number fits");
    }

    void textVariant(char type, const char* contents) {
        open('v', contents);
        text(type);
        close();
    }
    void text(char type) {
        const std::string bytes = input_.text(input_.byte());
        // The library itself refuses what may not travel.
        if (sd_bus_message_append_basic(message_, type, bytes.c_str()) < 0) {
            sd_bus_message_append_basic(message_, type, "");
        }
    }

    template <typename Entry> void container(const char* signature, int depth, const Entry& entry) {
        open('v', signature);
        open('a', signature + 1);
        while (depth < deepest && !input_.isAtEnd() && input_.byte() % 8 != 0) {
            entry();
        }
        close();
        close();
    }

    FuzzInput& input_;
    sd_bus_message* message_;
};

std::optional<Dictionary> readBack(const BusMessagePointer& message) {
    require(sd_bus_message_seal(message.get(), 1, 0) >= 0, "a message is complete");
    return bus::readDictionary(message.get());
}

void sendOn(FuzzInput input) {
    const Nobody nobody;
    const BusMessagePointer received = nobody.message();
    MessageWriter(input, received.get()).dictionary(0);
    const std::optional<Dictionary> read = readBack(received);
    require(read.has_value(), "a well-formed message is read");
    const BusMessagePointer sent = nobody.message();
    require(bus::appendDictionary(sent.get(), *read) >= 0, "what was read can be sent");
    const std::optional<Dictionary> readAgain = readBack(sent);
    require(readAgain && Value(*readAgain).description() == Value(*read).description(),
            "it arrives as it was read");
}

} // namespace
} // namespace trigora::fuzz

int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    trigora::fuzz::FuzzInput input(bytes, size);
    const std::string anyText(bytes, bytes + size);
    trigora::fuzz::require(trigora::platform::isValidUtf8(trigora::platform::bus::acceptableText(anyText)),
                           "any text can be made acceptable");
    trigora::fuzz::sendOn(input);
    return 0;
}
