#include "netscan/settings/DriverNames.h"

#include "files/InstalledPaths.h"
#include "platform/AppleEvents.h"
#include "platform/Bundles.h"
#include "platform/Clock.h"
#include "platform/Desktop.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"
#include "platform/Processes.h"
#include "platform/Text.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace trigora {

namespace {

using platform::fourCharCode;

constexpr std::int32_t found = 1;
constexpr std::int32_t notFound = -2;
constexpr int mostRetries = 101;
constexpr std::int64_t retryPause = 200000; // microseconds
constexpr std::int64_t exitPollPause = 20000;

/// The look-up must not run twice at once: 1 while it runs.
std::atomic<int> gCallLock = 0;

/// Takes gCallLock for a look-up and gives it back.
class CallLock {
public:
    CallLock() : isTaken_(gCallLock.exchange(1) == 0) {}
    CallLock(const CallLock&) = delete;
    CallLock& operator=(const CallLock&) = delete;
    ~CallLock() {
        if (isTaken_) {
            gCallLock = 0;
        }
    }
    bool isTaken() const { return isTaken_; }

private:
    bool isTaken_;
};

/// The name ends before a NUL, and is cut between two characters when it is too long.
void copyName(const std::string& name, char* destination) {
    const std::string_view copied = platform::utf8Prefix(name.c_str(), driverNameSize - 1);
    std::copy(copied.begin(), copied.end(), destination);
    destination[copied.size()] = 0;
}

std::shared_ptr<platform::Bundle> scanSettingsApplication() {
    const std::string path = paths::scanSettingsApplication();
    return platform::current().bundles.create(
        platform::current().fileSystem.exists(path) ? path : paths::scanSettingsApplicationInUtilities());
}

/// The name in a reply: two bytes that are not looked at, then NUL-terminated text.
std::optional<std::string> nameInReply(const platform::AppleEvent& reply) {
    constexpr std::size_t prefix = 2;
    constexpr std::size_t mostBytes = 258;
    const platform::AppleEventParameter* answer = reply.parameter(fourCharCode("----"));
    if (answer == nullptr || answer->type != fourCharCode("PSti") || answer->bytes.size() <= prefix) {
        return std::nullopt;
    }
    const auto begin = answer->bytes.begin() + prefix;
    const auto end =
        answer->bytes.begin() + static_cast<std::ptrdiff_t>(std::min(answer->bytes.size(), mostBytes));
    std::string name(begin, std::find(begin, end, 0));
    return platform::isValidUtf8(name) ? std::optional(std::move(name)) : std::nullopt;
}

bool isGivenUp(const GivesUp& givesUp) { return givesUp && givesUp(); }

std::int32_t askScanSettingsApplication(const char* productID, char* destination, const GivesUp& givesUp) {
    const std::shared_ptr<platform::Bundle> application =
        isGivenUp(givesUp) ? nullptr : scanSettingsApplication();
    if (!application) {
        return notFound;
    }
    platform::Processes& processes = platform::current().processes;
    const std::optional<std::string> executable = application->executablePath();
    const std::optional<std::int32_t> process =
        executable ? processes.launch(*executable, {"-S"}) : std::nullopt;
    if (!process) {
        return notFound;
    }
    destination[0] = 0;
    ConvertFromPID(productID, destination, givesUp);
    // Looked at again and again, and not waited for at once: the application may never quit.
    while (processes.isRunning(*process) && !isGivenUp(givesUp)) {
        platform::current().clock.sleepMicroseconds(exitPollPause);
    }
    return destination[0] != 0 ? found : notFound;
}

} // namespace

std::int32_t getDSName(const char* productID, char* destination, const GivesUp& givesUp) {
    const CallLock lock;
    if (!lock.isTaken()) {
        return 0;
    }
    if (productID == nullptr || destination == nullptr) {
        return notFound;
    }
    const auto name = platform::current().idConverter.PS2GetTwainIDWithProductID(productID);
    if (name && !name->empty()) {
        copyName(*name, destination);
        return found;
    }
    return askScanSettingsApplication(productID, destination, givesUp);
}

void ConvertFromPID(const char* productID, char* destination, const GivesUp& givesUp) {
    if (productID == nullptr || destination == nullptr) {
        return;
    }
    const std::string text = productID;
    const platform::AppleEvent event{
        fourCharCode("PLsc"),
        fourCharCode("PSir"),
        {{fourCharCode("----"), fourCharCode("utf8"), Data(text.begin(), text.end())}}};
    const platform::SignatureTarget target{fourCharCode("UsSe")};
    platform::AppleEvents& appleEvents = platform::current().appleEvents;
    const auto isOver = [&] { return isGivenUp(givesUp); };
    platform::AppleEventReply reply = appleEvents.sendUnlessGivenUp(target, event, isOver);
    for (int retries = 0; reply.status == platform::procNotFound && retries < mostRetries && !isOver();
         ++retries) {
        platform::current().clock.sleepMicroseconds(retryPause);
        reply = appleEvents.sendUnlessGivenUp(target, event, isOver);
    }
    const std::optional<std::string> name = reply.status == 0 ? nameInReply(reply.event) : std::nullopt;
    if (name) {
        copyName(*name, destination);
    }
}

} // namespace trigora
