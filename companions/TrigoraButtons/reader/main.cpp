#include "companions/TrigoraButtons/reader/OpenNodes.h"
#include "companions/TrigoraButtons/reader/SensorScanner.h"
#include "companions/TrigoraButtons/reader/ServiceChannel.h"
#include "companions/TrigoraButtons/reader/Watchdog.h"

#include <sys/prctl.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <optional>
#include <span>

namespace {

using namespace trigora::buttons;
using std::chrono::milliseconds;
using std::chrono::seconds;
using std::chrono::steady_clock;
using Kind = ReaderMessage::Kind;
using Words = std::span<char* const>;

/// Readings that fail one after the other before the scanner is given up.
constexpr int patience = 5;

// How long a back-end may take.
constexpr seconds timeToOpen(60); ///< scanners warm up, or are asked by several back-ends
constexpr seconds timeToRead(10);
constexpr seconds timeToClose(10);

constexpr int channelDescriptor = STDIN_FILENO;

struct Task {
    std::string usbFolder;
    std::string device;
    milliseconds interval{0};
    bool readsTwice = false;
    std::vector<std::string> options;
};

/// The node that a device such as "genesys:libusb:001:004" names; empty for others.
std::string nodeNamedIn(const std::string& device, const std::string& usbFolder) {
    static constexpr std::string_view marker = "libusb:";
    const std::size_t at = device.find(marker);
    const std::string address = at == std::string::npos ? "" : device.substr(at + marker.size());
    const std::size_t colon = address.find(':');
    const bool isAddress = colon != std::string::npos &&
                           address.find_first_not_of("0123456789:") == std::string::npos &&
                           address.find(':', colon + 1) == std::string::npos;
    return isAddress ? usbFolder + '/' + address.substr(0, colon) + '/' + address.substr(colon + 1) : "";
}

void describe(const SANE_Device& device, const std::string& usbFolder, const ServiceChannel& channel,
              const Watchdog& watchdog) {
    watchdog.allow(timeToOpen);
    std::vector<std::string> fields{device.name, device.vendor, device.model};
    channel.send(Kind::opening, {device.name});
    const OpenNodes nodes(usbFolder);
    SANE_Handle handle = nullptr;
    const SANE_Status status = sane_open(device.name, &handle);
    if (status == SANE_STATUS_GOOD) {
        const SensorScanner scanner(handle);
        fields.insert(fields.end(), {nodes.opened(), ""});
        for (const SensorOption& option : scanner.sensors()) {
            fields.insert(fields.end(), {option.name, option.title});
        }
    } else {
        fields.insert(fields.end(), {nodeNamedIn(device.name, usbFolder), nameOf(refusalOf(status))});
    }
    channel.send(Kind::scanner, fields);
}

void look(Words words, const ServiceChannel& channel, const Watchdog& watchdog) {
    const SANE_Device** devices = nullptr;
    if (sane_get_devices(&devices, SANE_TRUE) != SANE_STATUS_GOOD || devices == nullptr) {
        channel.send(Kind::looked);
        return;
    }
    const std::vector<std::string> known(words.begin() + 1, words.end());
    for (; *devices != nullptr; ++devices) {
        const SANE_Device& device = **devices;
        const bool isWhole = device.name != nullptr && device.vendor != nullptr && device.model != nullptr;
        if (isWhole && std::ranges::find(known, device.name) == known.end()) {
            describe(device, words[0], channel, watchdog);
        }
    }
    channel.send(Kind::looked);
}

/// One value per option for a `reading` message; none when not one could be read.
std::optional<std::vector<std::string>> valuesOf(SensorScanner& scanner, const Task& task) {
    std::vector<std::string> values;
    bool isAnyRead = task.options.empty();
    for (const std::string& option : task.options) {
        const std::optional<std::string> value = scanner.value(option, task.readsTwice);
        values.push_back(value ? '=' + *value : "");
        isAnyRead = isAnyRead || value;
    }
    return isAnyRead ? std::optional(values) : std::nullopt;
}

/// Reads until it is told to let go. Tells only of what has changed, so that a scanner at rest wakes nobody
/// else. False when the scanner no longer answers.
bool readSensors(SensorScanner& scanner, const Task& task, const ServiceChannel& channel,
                 const Watchdog& watchdog) {
    std::optional<std::vector<std::string>> before;
    int failures = 0;
    for (auto due = steady_clock::now();;) {
        watchdog.allow(timeToRead + std::chrono::ceil<seconds>(task.interval));
        const auto values = valuesOf(scanner, task);
        failures = values ? 0 : failures + 1;
        if (failures >= patience) {
            return false;
        }
        if (values && values != before) {
            channel.send(Kind::reading, *values);
            before = values;
        }
        // A reading that took longer than the interval is not made up for.
        due = std::max(due + task.interval, steady_clock::now());
        const auto wait = std::chrono::ceil<milliseconds>(due - steady_clock::now());
        if (channel.isToldToLetGo(wait)) {
            return true;
        }
    }
}

void hold(const Task& task, const ServiceChannel& channel, const Watchdog& watchdog) {
    const OpenNodes nodes(task.usbFolder);
    SANE_Handle handle = nullptr;
    const SANE_Status status = sane_open(task.device.c_str(), &handle);
    if (status != SANE_STATUS_GOOD) {
        channel.send(Kind::refused, {nameOf(refusalOf(status)), wordsFor(status)});
        return;
    }
    bool isWell = false;
    {
        SensorScanner scanner(handle);
        channel.send(Kind::opened, {nodes.opened()});
        isWell = readSensors(scanner, task, channel, watchdog);
        watchdog.allow(timeToClose);
    }
    if (isWell) {
        channel.send(Kind::closed);
    } else {
        channel.send(Kind::refused, {nameOf(Refusal::failed), "the scanner's sensors cannot be read"});
    }
}

bool readTask(Words words, Task& task) {
    if (words.size() < 4) {
        return false;
    }
    task.usbFolder = words[0];
    task.device = words[1];
    task.interval = milliseconds(std::max(std::atoi(words[2]), 1));
    task.readsTwice = std::string_view(words[3]) == "twice";
    task.options.assign(words.begin() + 4, words.end());
    return true;
}

int read(Words words, const ServiceChannel& channel) {
    const std::string_view verb = words.empty() ? "" : words[0];
    Task task;
    if (!(verb == "look" && words.size() > 1) && !(verb == "hold" && readTask(words.subspan(1), task))) {
        std::fputs("This program is started by the scanner buttons service (TrigoraButtons).\n", stderr);
        return EXIT_FAILURE;
    }
    const Watchdog watchdog;
    watchdog.allow(timeToOpen);
    const SANE_Status status = sane_init(nullptr, nullptr);
    if (status != SANE_STATUS_GOOD) {
        channel.send(Kind::refused, {nameOf(Refusal::noSane), wordsFor(status)});
    } else if (verb == "look") {
        look(words.subspan(1), channel, watchdog);
    } else {
        hold(task, channel, watchdog);
    }
    return EXIT_SUCCESS;
}

} // namespace

int main(int count, char** words) {
    // A back-end that hangs must not outlive the service.
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    int exitCode = EXIT_FAILURE;
    try {
        exitCode = read(Words(words + 1, words + std::max(count, 1)), ServiceChannel(channelDescriptor));
    } catch (const std::exception& exception) {
        std::fprintf(stderr, "TrigoraButtonReader: %s\n", exception.what());
    }
    // The scanner is closed; what back-ends would tidy up goes with the process.
    std::_Exit(exitCode);
}
