#include "tools/buttons/CommandButtons.h"

#include "files/InstalledPaths.h"
#include "files/NotificationNames.h"
#include "platform/Guarded.h"
#include "platform/linux/bus/BusNames.h"
#include "platform/linux/bus/BusValue.h"
#include "tools/bus/SessionBus.h"
#include "tools/buttons/ButtonDoctor.h"
#include "tools/buttons/ButtonSight.h"
#include "tools/buttons/ButtonTargets.h"
#include "tools/frame/Report.h"
#include "tools/settings/SettingsSession.h"
#include "tools/words/Wording.h"

#include <array>
#include <chrono>
#include <cstring>

namespace trigora::tools {

namespace {

using SteadyClock = std::chrono::steady_clock;

constexpr std::array buttonsOptions{
    Option{"live", "", "show presses as they come"},
    Option{"doctor", "", "tell what stands between the buttons and their projects, and what to do"},
    Option{"timeout", "SECONDS", "end --live after so many seconds"},
    jsonOption,
    rootOption,
};

constexpr std::string_view buttonsDetails =
    "Asks the scanner buttons service; without it, looks for scanners itself, which takes some seconds. The\n"
    "name of a sensor may stand for the button's number in \"explain press\".\n"
    "Exit codes: 0 all is well; 1 --doctor has found something; 3 nobody to ask.\n";

constexpr std::string_view buttonsExamples = "  trigoractl buttons\n"
                                             "  trigoractl buttons --live\n"
                                             "  trigoractl buttons --doctor\n";

std::string textOf(const Dictionary& dictionary, const char* key) {
    return platform::textAt(dictionary, key).value_or("");
}

Dictionary described(const ButtonTarget& target) {
    return {{"event", valueOrNothing(target.eventID)},
            {"project", valueOrNothing(target.projectID)},
            {"projectName", target.project}};
}

/// Calls the visitor with each scanner of the status.
template <typename Visitor> void forEachIn(const Dictionary& status, const char* key, const Visitor& visit) {
    for (const Value& entry : platform::arrayAt(status, key).value_or(Array())) {
        if (entry.dictionary() != nullptr) {
            visit(*entry.dictionary());
        }
    }
}

void printScanner(const Dictionary& scanner, bool isServiceRunning, std::ostream& out) {
    const std::string driver = textOf(scanner, "driver");
    const std::string reason = textOf(scanner, "reason");
    const std::string problem = textOf(scanner, "problem");
    out << printable(driver) << " (" << printable(textOf(scanner, "device")) << "): "
        << printable(!reason.empty()    ? "not watched, " + reason
                     : isServiceRunning ? textOf(scanner, "state")
                                        : "found")
        << (problem.empty() ? "" : " (" + printable(problem) + ")") << '\n';
    Table table({"SENSOR", "BUTTON", "EVENT", "PROJECT"});
    forEachIn(scanner, "sensors", [&](const Dictionary& sensor) {
        const Dictionary buttons = platform::dictionaryAt(sensor, "buttons").value_or(Dictionary());
        for (const auto& [name, number] : buttons) {
            const auto button = static_cast<std::uint32_t>(platform::integerOf(number).value_or(0));
            const ButtonTarget target =
                targetOfButton(driver, textOf(scanner, "model"), textOf(scanner, "modelID"), button);
            table.add({printable(name), std::to_string(button), textOrDash(target.eventID),
                       target.projectID ? *target.projectID + ' ' + printable(target.project)
                                        : '(' + target.project + ')'});
        }
        if (buttons.empty() && textOf(sensor, "kind") == "unknown") {
            table.add({printable(textOf(sensor, "sensor")), "-", "-", "(not known as a button)"});
        }
    });
    if (!table.isEmpty()) {
        table.print(out);
    }
    out << '\n';
}

Dictionary withTargets(const Dictionary& scanner) {
    Dictionary targets;
    forEachIn(scanner, "sensors", [&](const Dictionary& sensor) {
        for (const auto& [name, number] : platform::dictionaryAt(sensor, "buttons").value_or(Dictionary())) {
            const auto button = static_cast<std::uint32_t>(platform::integerOf(number).value_or(0));
            targets[name] = described(targetOfButton(textOf(scanner, "driver"), textOf(scanner, "model"),
                                                     textOf(scanner, "modelID"), button));
        }
    });
    Dictionary result = scanner;
    result["targets"] = targets;
    return result;
}

ExitCode list(const Arguments& arguments, std::ostream& out, std::ostream& err) {
    const platform::InstallationRoot root = rootOf(arguments);
    const ButtonSight sight = lookAtButtons(root);
    if (!sight.error.empty()) {
        throw Failure(failed, sight.error);
    }
    const SettingsSession session(root);
    if (arguments.has("json")) {
        Dictionary status = sight.status;
        Array scanners;
        forEachIn(sight.status, "scanners",
                  [&](const Dictionary& scanner) { scanners.push_back(withTargets(scanner)); });
        status["scanners"] = scanners;
        status["isServiceRunning"] = sight.isServiceRunning;
        printJson(out, status);
        return done;
    }
    forEachIn(sight.status, "scanners",
              [&](const Dictionary& scanner) { printScanner(scanner, sight.isServiceRunning, out); });
    if (platform::arrayAt(sight.status, "scanners").value_or(Array()).empty()) {
        out << "SANE finds no scanner at this computer.\n";
    }
    if (!sight.isServiceRunning) {
        err << "trigoractl: the scanner buttons service is not running; until it is, no button does "
               "anything\n";
    }
    return done;
}

ExitCode diagnose(const Arguments& arguments, std::ostream& out) {
    const std::vector<ButtonFinding> findings =
        findButtonProblems(lookAtButtons(rootOf(arguments)), presentCircumstances());
    if (arguments.has("json")) {
        Array list;
        for (const ButtonFinding& finding : findings) {
            list.push_back(Dictionary{{"scanner", finding.scanner.empty() ? Value() : Value(finding.scanner)},
                                      {"problem", finding.problem},
                                      {"remedy", finding.remedy}});
        }
        printJson(out, Dictionary{{"findings", list}});
    } else {
        for (const ButtonFinding& finding : findings) {
            out << printable(finding.scanner.empty() ? "" : finding.scanner + ": ")
                << printable(finding.problem) << '\n';
            if (!finding.remedy.empty()) {
                out << "    " << printable(finding.remedy) << '\n';
            }
        }
        if (findings.empty()) {
            out << "Nothing stands in the way of the buttons.\n";
        }
    }
    return findings.empty() ? done : failed;
}

/// Prints each press that the service tells of.
class PressPrinter {
public:
    PressPrinter(bool isJson, std::ostream& out) : isJson_(isJson), out_(out) {}

    bool start(sd_bus* bus) {
        const std::string match =
            std::string("type='signal',interface='") + platform::bus::notificationsInterface + "',member='" +
            platform::bus::postedSignal + "',arg0='" + notifications::scannerButtonPressed + "'";
        return ::sd_bus_add_match(bus, nullptr, match.c_str(), heard, this) >= 0;
    }
    bool isOver() const { return !out_; }

private:
    static int heard(sd_bus_message* message, void* printer, sd_bus_error*) {
        platform::guarded([&] { static_cast<PressPrinter*>(printer)->print(message); });
        return 0;
    }

    void print(sd_bus_message* message) {
        const char* name = nullptr;
        int immediately = 0;
        if (::sd_bus_message_has_signature(message, platform::bus::postedSignature) <= 0 ||
            ::sd_bus_message_read(message, "sb", &name, &immediately) < 0) {
            return;
        }
        const Dictionary press = platform::bus::readDictionary(message).value_or(Dictionary());
        if (isJson_) {
            printJson(out_, press);
        } else {
            out_ << printable(textOf(press, "Driver")) << ": " << printable(textOf(press, "Sensor"))
                 << " (button " << platform::integerAt(press, "Button").value_or(0) << ")\n";
        }
        out_.flush();
    }

    const bool isJson_;
    std::ostream& out_;
};

ExitCode showPresses(const Arguments& arguments, std::ostream& out, std::ostream& err) {
    const std::int64_t seconds = arguments.integer("timeout", secondsOfDay * 365, 1, secondsOfDay);
    std::string error;
    const std::optional<SessionBus> bus = SessionBus::open(error);
    if (!bus) {
        throw Failure(unreachable, error);
    }
    PressPrinter printer(arguments.has("json"), out);
    if (!printer.start(bus->get())) {
        throw Failure(unreachable, "the session bus does not tell of presses");
    }
    if (!statusOfButtonService()) {
        throw Failure(unreachable,
                      "the scanner buttons service is not running; start it with \"systemctl --user "
                      "enable --now trigora-buttons\"");
    }
    err << "Press the button that you want to set up. (Ctrl-C ends.)" << std::endl;
    const auto end = SteadyClock::now() + std::chrono::seconds(seconds);
    while (!printer.isOver() && SteadyClock::now() < end) {
        const int processed = ::sd_bus_process(bus->get(), nullptr);
        const auto left = std::chrono::ceil<std::chrono::microseconds>(end - SteadyClock::now()).count();
        if (processed < 0) {
            throw Failure(unreachable, std::string("the session bus was lost: ") + std::strerror(-processed));
        }
        if (processed == 0 && left > 0) {
            ::sd_bus_wait(bus->get(), static_cast<std::uint64_t>(left));
        }
    }
    return done;
}

ExitCode buttons(const Arguments& arguments, std::ostream& out, std::ostream& err) {
    if (arguments.has("live") && arguments.has("doctor")) {
        throw Failure(wrongUsage, "--live and --doctor cannot be had at once");
    }
    if (arguments.has("live")) {
        return showPresses(arguments, out, err);
    }
    return arguments.has("doctor") ? diagnose(arguments, out) : list(arguments, out, err);
}

} // namespace

Command buttonsCommand() {
    return {.name = "buttons",
            .operands = "",
            .summary = "Shows the scanners with buttons and what each button would run.",
            .options = buttonsOptions,
            .run = buttons,
            .details = buttonsDetails,
            .examples = buttonsExamples,
            .usesPlatform = true};
}

} // namespace trigora::tools
