#include "tools/commands/CommandExplain.h"

#include "agent/event/ScanEventRecord.h"
#include "files/InstalledPaths.h"
#include "files/PxIniParser.h"
#include "platform/Text.h"
#include "projects/information/TrProjectInformation.h"
#include "projects/manager/ActionRunnerChoice.h"
#include "tools/bus/AgentNotice.h"
#include "tools/buttons/ButtonSight.h"
#include "tools/frame/Report.h"
#include "tools/rehearsal/PressExplanation.h"
#include "tools/rehearsal/PressRehearsal.h"
#include "tools/settings/ScannerModels.h"
#include "tools/settings/SettingsSession.h"

#include <algorithm>
#include <array>
#include <limits>

namespace trigora::tools {

namespace {

constexpr std::array explainPressOptions{
    Option{"driver", "NAME", "driver name of the scanner, e.g. \"SANE Test Scanner\"", true},
    Option{"model", "NAME", "model name that the scanner reports (default: the driver name)"},
    Option{"button", "N|SENSOR",
           "number of the button, with feature bits if there are any, or its sensor's name", true},
    Option{"model-id", "ID", "scanner model, e.g. 00FE (default: the one of the driver's entry)"},
    Option{"driver-version", "V", "version of the driver (default: that of its entry, else 3.0)"},
    Option{"ica-mode", "", "as if the scanner were reached through the system's own driver"},
    jsonOption,
    rootOption};

constexpr std::string_view explainPressDetails =
    "Rehearses a press: every step from the button to what its project would launch, open and post, with\n"
    "the reason for each. Nothing of it happens, and no file is written. The agent's own rules decide; the\n"
    "scanner is taken to be attached and a scan to succeed.\n"
    "Exit codes: 0 the press would run a project; 3 it would not.\n";

constexpr std::string_view explainPressExamples =
    "  trigoractl explain press --driver \"SANE Test Scanner\" --button 1\n"
    "  trigoractl explain press --driver \"Desk Scanner\" --button scan\n"
    "  trigoractl explain press --driver \"PELOX Scanner\" --model XY-1 --button 19 --model-id 00FE --json\n";

constexpr const char* versionOfScanAssistant = "3.0"; ///< of a driver whose entry names none

std::string requireName(const Arguments& arguments, std::string_view option, const std::string& byDefault) {
    std::string name = arguments.text(option).value_or(byDefault);
    if (name.size() > longestScannerName) {
        throw Failure(wrongUsage, "a driver or model name has at most 32 bytes");
    }
    return name;
}

/// As the scan assistant reads its entry; the user's own counts before the installed one.
std::string versionOfDriver(const std::string& driverName) {
    for (const std::string& file : {paths::userScannerDriversFile(), paths::scannerDriversFile()}) {
        if (auto version = PxIniParser::sharedParser()->valueWithFilePath(file, driverName, "Version")) {
            return *version;
        }
    }
    return versionOfScanAssistant;
}

/// The model of the driver's entry; none without one.
std::optional<std::string> modelIDOfDriver(const std::string& driverName) {
    const std::vector<KnownScanner> scanners = knownScanners();
    const auto known = std::ranges::find(scanners, std::optional(driverName), &KnownScanner::driverName);
    return known == scanners.end() ? std::nullopt : known->modelID;
}

/// A number, or what a sensor is of the scanner.
std::uint32_t requireButton(const Arguments& arguments, const std::string& driverName) {
    const std::string text = arguments.text("button").value_or("");
    const bool isNumber = text.empty() || text[0] == '-' || (text[0] >= '0' && text[0] <= '9');
    if (isNumber) {
        return static_cast<std::uint32_t>(
            arguments.integer("button", 0, 0, std::numeric_limits<std::uint32_t>::max()));
    }
    const std::optional<std::uint32_t> button = buttonOfSensor(driverName, text);
    if (!button) {
        throw Failure(notFound, "no sensor \"" + text + "\" of \"" + driverName +
                                    R"(" is known as a button; "trigoractl buttons" shows those that are)");
    }
    return *button;
}

/// The press, and where its model ID comes from.
std::pair<RehearsedPress, std::string> pressOf(const Arguments& arguments) {
    RehearsedPress press;
    press.driver = requireName(arguments, "driver", "");
    press.model = requireName(arguments, "model", press.driver);
    press.eventStatus = requireButton(arguments, press.driver);
    const ScanEvent event{0, press.model, press.driver, press.eventStatus};
    const std::string name = platform::textAt(currentEventOf(event), "driverName").value_or("");
    press.scannerVersion = arguments.text("driver-version").value_or(versionOfDriver(name));
    const std::optional<std::string> given = arguments.text("model-id");
    const auto modelID = given ? std::optional(requireModelID(*given)) : modelIDOfDriver(name);
    press.deviceInfo = {{"DeviceInfoModelID", std::int64_t{platform::hexadecimalValue(modelID.value_or(""))}},
                        {"DeviceInfoIsRunICAMode", arguments.has("ica-mode")}};
    std::string source = given     ? "as given"
                         : modelID ? "from the driver's entry in ScannerDrivers.ini"
                                   : "as no entry of ScannerDrivers.ini names the driver's model";
    return {std::move(press), std::move(source)};
}

std::string kindName(RehearsedEffect::Kind kind) {
    switch (kind) {
    case RehearsedEffect::Kind::post:
        return "post";
    case RehearsedEffect::Kind::launch:
        return "launch";
    case RehearsedEffect::Kind::open:
        return "open";
    case RehearsedEffect::Kind::send:
        return "send";
    case RehearsedEffect::Kind::message:
        break;
    }
    return "message";
}

Array described(const std::vector<RehearsedEffect>& effects) {
    Array list;
    for (const RehearsedEffect& effect : effects) {
        list.push_back(Dictionary{{"kind", kindName(effect.kind)},
                                  {"target", effect.target},
                                  {"arguments", Array(effect.arguments.begin(), effect.arguments.end())},
                                  {"userInfo", effect.userInfo ? Value(*effect.userInfo) : Value()},
                                  {"problem", valueOrNothing(effect.problem)}});
    }
    return list;
}

Dictionary described(const PressRehearsal& rehearsal, const PressExplanation& explanation) {
    Array steps;
    for (const ExplainedStep& step : explanation.steps) {
        steps.push_back(Dictionary{{"step", step.name}, {"text", step.text}});
    }
    Dictionary facts{{"steps", steps},
                     {"outcome", explanation.outcome},
                     {"wouldRun", rehearsal.wouldRun()},
                     {"driver", valueOrNothing(rehearsal.driverName())},
                     {"event", Value()},
                     {"project", Value()},
                     {"runner", Value()},
                     {"atPress", described(rehearsal.request())},
                     {"onceConfirmed", described(rehearsal.start())},
                     {"afterwards", described(rehearsal.action())}};
    if (rehearsal.isConfirmed()) {
        facts["event"] = std::to_string(rehearsal.mapping().eventID);
        facts["project"] = valueOrNothing(rehearsal.project().projectID);
    }
    if (rehearsal.isConfirmed() && rehearsal.project().outcome == ScanEventProject::Outcome::runs) {
        const std::string_view runner = actionRunnerChoice(*rehearsal.project().project).className;
        facts["runner"] = runner.empty() ? Value() : Value(runner);
    }
    return facts;
}

void print(const PressExplanation& explanation, std::ostream& out) {
    Table table({"STEP", "WHAT AND WHY"});
    for (const ExplainedStep& step : explanation.steps) {
        table.add({step.name, step.text});
    }
    table.print(out);
    out << '\n' << explanation.outcome << '\n';
}

ExitCode explainPress(const Arguments& arguments, std::ostream& out, std::ostream& err) {
    const SettingsSession session(rootOf(arguments));
    const AgentNotice agent = agentNotice();
    const auto [press, source] = pressOf(arguments);
    PressRehearsal rehearsal(press);
    PressExplanation explanation = explain(rehearsal, press, source);
    if (const platform::InstallationRoot root = rootOf(arguments); root.path() != "/") {
        explanation.steps.insert(
            explanation.steps.begin(),
            {"root", root.path() + ": /Applications, /Library and /Users/Shared lie below it"});
    }
    if (arguments.has("json")) {
        printJson(out, described(rehearsal, explanation));
    } else {
        print(explanation, out);
    }
    if (agent == AgentNotice::notRunning) {
        err << "trigoractl: the agent is not running now; until it is, no press does anything\n";
    }
    return rehearsal.wouldRun() ? done : wouldNotRun;
}

} // namespace

Command explainPressCommand() {
    return {.name = "explain press",
            .operands = "",
            .summary = "Tells what the press of a button would do, and why.",
            .options = explainPressOptions,
            .run = explainPress,
            .details = explainPressDetails,
            .examples = explainPressExamples,
            .usesPlatform = true};
}

} // namespace trigora::tools
