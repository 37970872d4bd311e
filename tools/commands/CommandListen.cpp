#include "tools/commands/CommandListen.h"

#include "platform/Guarded.h"
#include "platform/linux/bus/BusNames.h"
#include "platform/linux/bus/BusValue.h"
#include "platform/linux/formats/LinuxFormats.h"
#include "tools/bus/SessionBus.h"
#include "tools/frame/Report.h"
#include "tools/words/Wording.h"

#include <array>
#include <chrono>
#include <cstring>

namespace trigora::tools {

namespace {

using namespace platform;
using SteadyClock = std::chrono::steady_clock;

constexpr std::array listenOptions{
    Option{"json", "", "one JSON object per line"},
    Option{"until", "NAME", "stop after a notification of this name"},
    Option{"timeout", "SECONDS", "stop after so many seconds; a failure when --until is still waited for"},
    rootOption,
};

constexpr std::string_view listenExamples =
    "  trigoractl listen --json\n"
    "  trigoractl listen --until ScanEventDidFinishNotification --timeout 60\n";

std::optional<HeardNotification> read(sd_bus_message* message) {
    const char* name = nullptr;
    int immediately = 0;
    if (sd_bus_message_has_signature(message, bus::postedSignature) <= 0 ||
        sd_bus_message_read(message, "sb", &name, &immediately) < 0) {
        return std::nullopt;
    }
    return HeardNotification{name, immediately != 0, bus::readDictionary(message).value_or(Dictionary{})};
}

/// Prints what is posted until it is told to stop.
class Listener {
public:
    Listener(const Arguments& arguments, std::ostream& out)
        : json_(arguments.has("json")), until_(arguments.text("until")), out_(out) {}

    /// Negative when the bus refuses.
    int start(sd_bus* bus) {
        const std::string match = std::string("type='signal',member='") + bus::postedSignal +
                                  "',interface='" + bus::notificationsInterface + "'";
        return sd_bus_add_match(bus, nullptr, match.c_str(), heard, this);
    }
    bool isOver() const { return over_; }
    bool isWaitingForAName() const { return until_.has_value(); }

private:
    static int heard(sd_bus_message* message, void* listener, sd_bus_error* /*error*/) {
        // No exception may pass through the frames of sd-bus.
        platform::guarded([&] { static_cast<Listener*>(listener)->print(message); });
        return 0;
    }

    void print(sd_bus_message* message) {
        const std::optional<HeardNotification> notification = read(message);
        if (!notification || over_) {
            return;
        }
        out_ << (json_ ? asJson(*notification) : asText(*notification)) << std::endl;
        over_ = !out_ || notification->name == until_;
    }

    bool json_;
    std::optional<std::string> until_;
    std::ostream& out_;
    bool over_ = false;
};

/// Negative when the bus is lost; 0 when the time is up; 1 when the listener is done.
int listenUntilOver(sd_bus* bus, Listener& listener, std::optional<SteadyClock::time_point> deadline) {
    while (!listener.isOver()) {
        const int processed = sd_bus_process(bus, nullptr);
        if (processed != 0) {
            if (processed < 0) {
                return processed;
            }
            continue;
        }
        std::uint64_t wait = UINT64_MAX;
        if (deadline) {
            const auto left = *deadline - SteadyClock::now();
            if (left <= SteadyClock::duration::zero()) {
                return 0;
            }
            const auto microseconds = std::chrono::duration_cast<std::chrono::microseconds>(left).count();
            wait = static_cast<std::uint64_t>(microseconds) + 1;
        }
        const int waited = sd_bus_wait(bus, wait);
        if (waited < 0 && waited != -EINTR) {
            return waited;
        }
    }
    return 1;
}

ExitCode listen(const Arguments& arguments, std::ostream& out, std::ostream& err) {
    const std::int64_t seconds = arguments.integer("timeout", 0, 1, secondsOfDay);
    std::string error;
    const std::optional<SessionBus> bus = SessionBus::open(error);
    if (!bus) {
        throw Failure(unreachable, error);
    }
    std::optional<SteadyClock::time_point> deadline;
    if (arguments.has("timeout")) {
        deadline = SteadyClock::now() + std::chrono::seconds(seconds);
    }
    Listener listener(arguments, out);
    int result = listener.start(bus->get());
    if (result >= 0) {
        err << "Listening." << std::endl; // from now on nothing is missed
        result = listenUntilOver(bus->get(), listener, deadline);
    }
    if (result < 0) {
        throw Failure(unreachable, std::string("the session bus was lost: ") + std::strerror(-result));
    }
    if (result == 0 && listener.isWaitingForAName()) {
        throw Failure(failed, *arguments.text("until") + " was not posted in time");
    }
    return done;
}

} // namespace

std::string asText(const HeardNotification& notification) {
    std::string line = notification.name;
    if (!notification.userInfo.empty()) {
        line += ' ' + Value(notification.userInfo).description();
    }
    return printable(std::move(line));
}

std::string asJson(const HeardNotification& notification) {
    return LinuxJson().write(Value(Dictionary{{"name", notification.name},
                                              {"deliverImmediately", notification.deliverImmediately},
                                              {"userInfo", notification.userInfo}}));
}

Command listenCommand() {
    return {.name = "listen",
            .operands = "",
            .summary = "Prints the notifications of this session as they are posted.",
            .options = listenOptions,
            .run = listen,
            .examples = listenExamples};
}

} // namespace trigora::tools
