#include "tools/buttons/ButtonSight.h"

#include "companions/TrigoraButtons/messages/ButtonServiceEvents.h"
#include "companions/TrigoraButtons/sensors/SensorTable.h"
#include "files/InstalledPaths.h"
#include "files/PxIniParser.h"
#include "platform/linux/bus/AppleEventMessage.h"
#include "platform/linux/bus/BusNames.h"
#include "platform/linux/files/FileDescriptor.h"
#include "platform/linux/formats/LinuxFormats.h"
#include "tools/bus/SessionBus.h"

#include <fcntl.h>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstring>

namespace trigora::tools {

namespace {

using platform::FileDescriptor;

constexpr std::uint64_t answerTimeOutMicroseconds = 5'000'000;

std::optional<Dictionary> dictionaryIn(const std::string& json) {
    const std::optional<Value> value = platform::LinuxJson().read(json);
    return value && value->dictionary() != nullptr ? std::optional(*value->dictionary()) : std::nullopt;
}

/// All that a program writes to its standard output; none when it cannot be started or fails.
std::optional<std::string> outputOf(const std::string& program, const std::string& argument,
                                    std::string& error) {
    std::array<int, 2> ends{};
    if (::pipe2(ends.data(), O_CLOEXEC) != 0) {
        error = std::strerror(errno);
        return std::nullopt;
    }
    const FileDescriptor ours(ends[0]);
    FileDescriptor theirs(ends[1]);
    posix_spawn_file_actions_t actions;
    ::posix_spawn_file_actions_init(&actions);
    ::posix_spawn_file_actions_adddup2(&actions, theirs.get(), STDOUT_FILENO);
    std::string name = program;
    std::string word = argument;
    const std::array<char*, 3> words{name.data(), word.data(), nullptr};
    pid_t process = 0;
    const int failure = ::posix_spawn(&process, program.c_str(), &actions, nullptr, words.data(), environ);
    ::posix_spawn_file_actions_destroy(&actions);
    theirs = FileDescriptor();
    if (failure != 0) {
        error = program + " cannot be started: " + std::strerror(failure);
        return std::nullopt;
    }
    std::string output;
    std::array<char, 4096> buffer{};
    for (ssize_t length = 0; (length = ::read(ours.get(), buffer.data(), buffer.size())) != 0;) {
        if (length > 0) {
            output.append(buffer.data(), static_cast<std::size_t>(length));
        } else if (errno != EINTR) {
            break;
        }
    }
    int status = 0;
    ::waitpid(process, &status, 0);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        error = program + " failed";
        return std::nullopt;
    }
    return output;
}

std::optional<std::uint32_t> buttonIn(const Dictionary& scanner, const std::string& sensor) {
    for (const Value& entry : platform::arrayAt(scanner, "sensors").value_or(Array())) {
        const Dictionary* described = entry.dictionary();
        const auto buttons =
            described != nullptr ? platform::dictionaryAt(*described, "buttons") : std::nullopt;
        const auto button = buttons ? platform::integerAt(*buttons, sensor) : std::nullopt;
        if (button) {
            return static_cast<std::uint32_t>(*button);
        }
    }
    return std::nullopt;
}

/// By the back-end alone: the scanner need not be there.
std::optional<std::uint32_t> buttonInTable(const std::string& driverName, const std::string& sensor) {
    const auto parser = PxIniParser::sharedParser();
    auto device = parser->valueWithFilePath(paths::userScannerDriversFile(), driverName, "Device");
    if (!device) {
        device = parser->valueWithFilePath(paths::scannerDriversFile(), driverName, "Device");
    }
    const buttons::SensorTable table = buttons::SensorTable::read();
    for (const buttons::SensorRow& row : table.rulesOf(buttons::backEndOf(device.value_or(""))).rows) {
        if (row.option == sensor && row.button > 0) {
            return row.button;
        }
        for (const auto& [word, button] : row.words) {
            if (row.option + ' ' + word == sensor) {
                return button;
            }
        }
    }
    return std::nullopt;
}

} // namespace

std::optional<Dictionary> statusOfButtonService() {
    std::string error;
    const std::optional<SessionBus> bus = SessionBus::open(error);
    const platform::BusMessagePointer call =
        bus ? platform::bus::eventCall(bus->get(), platform::bus::signatureName(buttons::serviceSignature),
                                       {.eventClass = platform::productEventClass,
                                        .eventID = buttons::buttonStatusEventID,
                                        .parameters = {}})
            : nullptr;
    if (!call) {
        return std::nullopt;
    }
    sd_bus_message* answer = nullptr;
    const int result = ::sd_bus_call(bus->get(), call.get(), answerTimeOutMicroseconds, nullptr, &answer);
    const platform::BusMessagePointer reply(answer);
    const auto parameters = result >= 0 ? platform::bus::readEventReply(answer) : std::nullopt;
    if (!parameters || parameters->empty()) {
        return std::nullopt;
    }
    const Data& bytes = parameters->front().bytes;
    return dictionaryIn(std::string(bytes.begin(), bytes.end()));
}

ButtonSight lookAtButtons(const platform::InstallationRoot& root) {
    ButtonSight sight;
    if (auto status = statusOfButtonService()) {
        sight.isServiceRunning = true;
        sight.status = std::move(*status);
        return sight;
    }
    const auto output = outputOf(root.onDisk(paths::buttonServiceExecutable()), "--list", sight.error);
    auto status = output ? dictionaryIn(*output) : std::nullopt;
    if (status) {
        sight.status = std::move(*status);
    } else if (output) {
        sight.error = "what the scanner buttons service's program says cannot be read";
    }
    return sight;
}

std::optional<std::uint32_t> buttonOfSensor(const std::string& driverName, const std::string& sensor) {
    const std::optional<Dictionary> status = statusOfButtonService();
    for (const Value& entry :
         platform::arrayAt(status.value_or(Dictionary()), "scanners").value_or(Array())) {
        const Dictionary* scanner = entry.dictionary();
        if (scanner != nullptr && platform::textAt(*scanner, "driver") == driverName) {
            if (const auto button = buttonIn(*scanner, sensor)) {
                return button;
            }
        }
    }
    return buttonInTable(driverName, sensor);
}

} // namespace trigora::tools
