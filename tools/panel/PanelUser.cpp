#include "tools/panel/PanelUser.h"

#include "agent/event/UsbScannerEvent.h"
#include "modules/network_scan.h"
#include "modules/panel_driver.h"
#include "simulators/simulation/Simulation.h"
#include "tools/bus/SessionBus.h"

#include <algorithm>
#include <functional>
#include <iomanip>
#include <map>
#include <span>

namespace trigora::tools {

namespace {

using nlohmann::json;
using simulators::integerAt;
using simulators::textAt;

/// The name of a code that came from the journal.
std::string nameOf(std::span<const char* const> names, std::int64_t code) {
    return code >= 0 && static_cast<std::size_t>(code) < names.size() ? names[static_cast<std::size_t>(code)]
                                                                      : "?";
}

std::string wordFor(std::int64_t result, bool isAnnouncement) {
    switch (result) {
    case PANEL_RESULT_DONE:
        return isAnnouncement ? "served" : "done";
    case NSM_SCANNER_NOT_SERVED:
        return isAnnouncement ? "not served" : "result 2";
    case PANEL_RESULT_FAILED:
        return "failed";
    case PANEL_RESULT_BUSY:
        return "busy";
    default:
        return "result " + std::to_string(result);
    }
}

void printEntry(const json& entry, std::ostream& out) {
    constexpr const char* devices[] = {"table", "feeder", "feeder, both sides", "any device"};
    constexpr const char* formats[] = {"JPEG", "TIFF", "PDF", "?", "?", "PNG", "Word", "Excel", "PowerPoint"};
    constexpr const char* destinations[] = {"mail", "folder", "printer", "FTP", "?", "WebDAV", "service"};
    out << std::right << std::setw(4) << integerAt(entry, "ucJobNumber", 0) << std::setw(7)
        << integerAt(entry, "usCustomResolution", 0) << " dpi  " << std::left << std::setw(20)
        << nameOf(devices, integerAt(entry, "ucScanningDevice", -1)) << std::setw(12)
        << nameOf(formats, integerAt(entry, "ucSaveFormat", -1)) << std::setw(9)
        << nameOf(destinations, integerAt(entry, "destinationType", -1))
        << textAt(entry, "wcJobName").value_or("(no name)") << '\n';
}

/// What the panel is set to when the user has picked a job and changed nothing.
json choicesOfJob(const json& entry) {
    return {{"imageType", integerAt(entry, "ucImageType", 0)},
            {"resolution", integerAt(entry, "ucResolution", 0)},
            {"scanningDevice", integerAt(entry, "ucScanningDevice", 0)},
            {"documentSize", integerAt(entry, "ucDocumentSize", 0)},
            {"saveFormat", integerAt(entry, "ucSaveFormat", 0)}};
}

void printStartedJobs(const std::vector<json>& calls, std::ostream& out) {
    for (const json& call : calls) {
        if (textAt(call, "call") == "invokeJobAtIndex") {
            out << "The application was given job " << integerAt(call, "index", -1) + 1
                << " with the options\n"
                << call.value("options", json()).dump(2, ' ', false, json::error_handler_t::replace) << '\n';
        }
    }
}

} // namespace

std::string meaningOfResults(const std::string& command, const json& results) {
    std::map<std::int64_t, int> counts;
    for (const json& result : results) {
        ++counts[result.is_number_integer() ? result.get<std::int64_t>() : 0];
    }
    std::string text;
    for (const auto& [result, count] : counts) {
        text += (text.empty() ? "" : ", ") + wordFor(result, command == "announce");
        if (results.size() > 1) {
            text += " " + std::to_string(count) + (count == 1 ? " time" : " times");
        }
    }
    return text.empty() ? "not asked" : text;
}

void printJobList(const json& list, std::ostream& out) {
    constexpr const char* passwords[] = {"no password", "a password in plain text",
                                         "the digest of a password"};
    const json header = list.value("header", json::object());
    const json entries = list.value("entries", json::array());
    out << "The panel shows " << entries.size() << " jobs, sent with "
        << nameOf(passwords, integerAt(header, "passwordKind", -1)) << ":\n";
    for (const json& entry : entries) {
        printEntry(entry, out);
    }
}

ExitCode PanelUser::connect() {
    return options_.isUsb ? tellOfUsbScanner() : tell("announce", "The scanner announces itself");
}

ExitCode PanelUser::tellOfUsbScanner() {
    std::string error;
    const std::optional<SessionBus> bus = SessionBus::open(error);
    if (!bus) {
        return fail(error, unreachable);
    }
    const SessionBus::Delivery delivery = bus->sendToAgent(usbScannerEvent(options_.usbProductID), error);
    if (delivery != SessionBus::Delivery::handled) {
        return fail(error, delivery == SessionBus::Delivery::agentMissing ? unreachable : failed);
    }
    if (!options_.printsJson) {
        out_ << "The agent was told that a scanner is connected by USB.\n";
    }
    return done;
}

ExitCode PanelUser::list() {
    const std::int64_t before = simulation_.journalEnd();
    const ExitCode result = tell("list", "The panel asks for its jobs");
    if (result == unreachable || options_.printsJson) {
        return result;
    }
    if (options_.hasForeignPanelDriver) {
        out_ << "What the panel was sent is with the installed panel driver, which is not the simulated "
                "one.\n";
    } else if (const std::optional<json> list = simulation_.lastListSince(before)) {
        printJobList(*list, out_);
    } else {
        out_ << "The panel was sent no jobs.\n";
    }
    return result;
}

ExitCode PanelUser::pick(std::int64_t number) {
    if (options_.hasForeignPanelDriver) {
        return start(number, options_.command);
    }
    const json entries =
        simulation_.lastListSince(0).value_or(json::object()).value("entries", json::array());
    const bool isListed = number >= 1 && static_cast<std::size_t>(number) <= entries.size();
    if (!isListed) {
        return fail("the panel shows no job " + std::to_string(number) +
                        "; \"panel list\" has it ask for them",
                    failed);
    }
    json command = options_.command;
    command["choices"] = choicesOfJob(entries[static_cast<std::size_t>(number) - 1]);
    command["choices"].update(options_.choices);
    return start(number, std::move(command));
}

ExitCode PanelUser::start(std::int64_t number, json command) {
    command["jobIndex"] = number - 1;
    const std::int64_t before = simulation_.journalEnd();
    const ExitCode result = tell("start", "The user starts job " + std::to_string(number), command);
    if (result != unreachable && !options_.printsJson) {
        printStartedJobs(simulation_.callsSince(before), out_);
    }
    return result;
}

ExitCode PanelUser::playSession(std::int64_t number) {
    const std::function<ExitCode()> steps[] = {
        [&] { return connect(); },
        [&] { return list(); },
        [&] { return pick(number); },
        [&] { return tell("keep-alive", "The panel keeps the job alive"); },
        [&] { return tell("complete", "The user has no further page"); },
        [&] { return tell("end", "The job is over"); },
    };
    for (const auto& step : steps) {
        if (const ExitCode result = step(); result != done) {
            return result;
        }
    }
    return done;
}

ExitCode PanelUser::tell(const std::string& name, const std::string& sentence, json command) {
    command["command"] = name;
    std::string error;
    const std::optional<json> answer = simulation_.send(command, error);
    if (!answer) {
        return fail(error, unreachable);
    }
    const json results = answer->value("results", json::array());
    if (options_.printsJson) {
        out_ << answer->dump(-1, ' ', false, json::error_handler_t::replace) << '\n';
    } else {
        out_ << sentence << ": " << meaningOfResults(name, results) << ".\n";
    }
    const bool isDone =
        std::ranges::all_of(results, [](const json& result) { return result == PANEL_RESULT_DONE; });
    return isDone ? done : failed;
}

ExitCode PanelUser::fail(const std::string& sentence, ExitCode code) {
    err_ << "trigoractl: " << sentence << '\n';
    return code;
}

} // namespace trigora::tools
