#include "tools/commands/CommandStatus.h"

#include "agent/log/PSlog.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"
#include "platform/Text.h"
#include "platform/linux/files/InstallationRoot.h"
#include "tools/bus/AgentStatus.h"
#include "tools/bus/SessionBus.h"
#include "tools/frame/Report.h"
#include "tools/words/Wording.h"

#include <array>
#include <cmath>
#include <cstdlib>
#include <fstream>
#include <sstream>

namespace trigora::tools {

namespace {

constexpr std::array statusOptions{jsonOption, rootOption};

constexpr std::string_view statusDetails =
    "Asks the agent itself; one that does not answer within five seconds is busy, e.g. with a script.\n"
    "Exit codes: 0 an agent runs; 3 none does, or there is no session bus.\n";
constexpr std::string_view statusExamples = "  trigoractl status\n"
                                            "  trigoractl status --json\n";

/// Memory that a process has in use, in bytes; none when it cannot be told.
std::optional<std::int64_t> memoryOf(std::int32_t processID) {
    constexpr std::int64_t bytesPerKibibyte = 1024;
    std::ifstream file("/proc/" + std::to_string(processID) + "/status");
    for (std::string line; std::getline(file, line);) {
        if (line.starts_with("VmRSS:")) {
            return platform::integerValue(line.substr(line.find(':') + 1)) * bytesPerKibibyte;
        }
    }
    return std::nullopt;
}

std::string duration(double seconds) {
    const auto whole = static_cast<std::int64_t>(std::floor(seconds));
    std::ostringstream text;
    if (whole >= 3600) {
        text << whole / 3600 << " h ";
    }
    if (whole >= 60) {
        text << whole / 60 % 60 << " min ";
    }
    text << whole % 60 << " s";
    return text.str();
}

std::string mebibytes(std::int64_t bytes) {
    constexpr double bytesPerMebibyte = 1 << 20;
    std::ostringstream text;
    text.precision(1);
    text << std::fixed << static_cast<double>(bytes) / bytesPerMebibyte << " MiB";
    return text.str();
}

double realAt(const Dictionary& dictionary, std::string_view key) {
    const Value* value = platform::find(dictionary, key);
    const double* real = value ? value->real() : nullptr;
    return real ? *real : static_cast<double>(platform::integerAt(dictionary, key).value_or(0));
}

/// One entry below the other. A folder among them that is gone is said to be.
std::string listText(const Dictionary& status, std::string_view key, bool areFolders) {
    std::string text;
    for (const Value& entry : platform::arrayAt(status, key).value_or(Array())) {
        const std::string path = entry.text() != nullptr ? *entry.text() : entry.description();
        const bool isGone = areFolders && !platform::current().fileSystem.isDirectory(path);
        text += (text.empty() ? "" : "\n" + std::string(18, ' ')) + printable(path) +
                (isGone ? " (there is no such folder now)" : "");
    }
    return text.empty() ? "none" : text;
}

/// The modules that could not be loaded, each with its reason below it; empty when there are none.
std::string failuresText(const Dictionary& status) {
    std::string text;
    for (const Value& entry : platform::arrayAt(status, "failedModules").value_or(Array())) {
        const Dictionary failure = entry.dictionary() != nullptr ? *entry.dictionary() : Dictionary();
        for (const char* key : {"path", "reason"}) {
            text += (text.empty() ? "" : "\n" + std::string(18, ' ')) +
                    printable(textOrDash(platform::textAt(failure, key)));
        }
    }
    return text;
}

std::string runText(const Dictionary& status) {
    if (const auto press = platform::dictionaryAt(status, "press")) {
        return "a press waits for its scanner: button " +
               std::to_string(platform::integerAt(*press, "eventStatus").value_or(0)) + " of " +
               printable(textOrDash(platform::textAt(*press, "driverName"))) + ", model " +
               printable(textOrDash(platform::textAt(*press, "modelName")));
    }
    if (!platform::booleanAt(status, "projectIsRunning").value_or(false)) {
        return "nothing";
    }
    const auto application = platform::textAt(status, "application");
    return "a project" + (application ? ", whose pages go to " + printable(*application) : std::string());
}

void printLine(std::ostream& out, const std::string& name, const std::string& text) {
    out << name << std::string(18 - name.size(), ' ') << text << '\n';
}

void printStatus(const Dictionary& facts, std::ostream& out) {
    const auto processID = platform::integerAt(facts, "processID");
    const auto memory = platform::integerAt(facts, "memory");
    const bool hasAnswered = platform::arrayAt(facts, "modules").has_value();
    std::string agent = "not running";
    if (processID) {
        agent = "runs, process " + std::to_string(*processID) +
                (hasAnswered ? ", for " + duration(realAt(facts, "uptime")) : ", but does not answer") +
                (memory ? ", " + mebibytes(*memory) : "");
    }
    printLine(out, "agent", agent);
    printLine(out, "root", platform::textAt(facts, "root").value_or(""));
    printLine(out, "session bus", textOrDash(platform::textAt(facts, "bus")));
    printLine(out, "log", platform::booleanAt(facts, "log").value_or(false) ? "on" : "off");
    if (hasAnswered) {
        printLine(out, "running now", runText(facts));
        printLine(out, "watched folders", listText(facts, "watchedFolders", true));
        printLine(out, "modules", listText(facts, "modules", false));
        if (const std::string failures = failuresText(facts); !failures.empty()) {
            printLine(out, "not loadable", failures);
        }
    }
}

ExitCode status(const Arguments& arguments, std::ostream& out, std::ostream& err) {
    Dictionary facts{{"root", platform::InstallationRoot::choose(arguments.text("root").value_or("")).path()},
                     {"bus", Value()},
                     {"processID", Value()},
                     {"log", isLogSwitchedOn()}};
    // What only an agent that answers can say.
    for (const char* key : {"uptime", "memory", "press", "projectIsRunning", "application", "watchedFolders",
                            "modules", "failedModules"}) {
        facts[key] = Value();
    }
    std::string error;
    const std::optional<SessionBus> bus = SessionBus::open(error);
    std::optional<std::int32_t> processID;
    if (bus) {
        facts["bus"] = bus->address();
        processID = bus->agentProcessID();
    } else if (const char* address = std::getenv("DBUS_SESSION_BUS_ADDRESS")) {
        facts["bus"] = address;
    }
    if (processID) {
        // What the agent says of itself counts before what is known here.
        if (auto answer = statusOfAgent(*bus, error)) {
            answer->merge(facts);
            facts = std::move(*answer);
        }
        facts["processID"] = std::int64_t{*processID};
        const auto memory = memoryOf(*processID);
        facts["memory"] = memory ? Value(*memory) : Value();
    }
    if (arguments.has("json")) {
        printJson(out, facts);
    } else {
        printStatus(facts, out);
    }
    if (!error.empty()) {
        err << "trigoractl: " << error << '\n';
    }
    return processID ? done : unreachable;
}

} // namespace

Command statusCommand() {
    return {.name = "status",
            .operands = "",
            .summary = "Tells whether the agent runs and what it is doing.",
            .options = statusOptions,
            .run = status,
            .details = statusDetails,
            .examples = statusExamples,
            .usesPlatform = true};
}

} // namespace trigora::tools
