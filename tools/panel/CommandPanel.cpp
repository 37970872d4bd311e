#include "tools/panel/CommandPanel.h"

#include "files/InstalledPaths.h"
#include "platform/Bundles.h"
#include "platform/Platform.h"
#include "platform/Text.h"
#include "simulators/simulation/PanelCommands.h"
#include "tools/frame/Report.h"
#include "tools/panel/PanelUser.h"
#include "tools/words/Numbers.h"

#include <algorithm>
#include <array>
#include <limits>
#include <utility>

namespace trigora::tools {

namespace {

using nlohmann::json;

constexpr std::int64_t mostNumber = std::numeric_limits<std::int32_t>::max();
constexpr std::int64_t usualUsbProductID = 0x147;

constexpr std::array panelOptions{
    Option{"usb", "", "the panel of a USB scanner (default: of a network scanner)"},
    Option{"pid", "N", R"(USB product ID for "connect" and "session", e.g. 0x12A (default: 0x147))"},
    Option{"product", "ID", R"(product ID of a network scanner (default: "PID 0147"))"},
    Option{"ip", "ADDRESS", "address of a network scanner (default: 192.168.0.20)"},
    Option{"hardware", "DIGITS", "hardware address of the scanner, 12 hexadecimal digits"},
    Option{"version", "TEXT", R"(version that the scanner announces (default: "Ver 1.10"))"},
    Option{"model", "NAME", R"(model name for "scan" (default: none))"},
    Option{"button", "N", R"(button for "scan", with feature bits if there are any (default: 1))"},
    Option{"panel-version", "N", "protocol version; a panel below 110 gets old lists (default: 110)"},
    Option{"capabilities", "N", "what the panel can do (default: 15, all of it)"},
    Option{"timeout", "N", "time-out of a picked job (default: 60)"},
    Option{"choices", "LIST", "what is changed of a picked job, e.g. resolution=3,saveFormat=4"},
    Option{"data", "HEX",
           "what a USB panel sends to a panel driver that is not the simulated one (default: nothing)"},
    Option{"text", "TEXT", R"(what "error" reports)"},
    Option{"threads", "N", "on how many threads the agent is called at once (default: 1)"},
    Option{"times", "N", "how often each of them calls it (default: 1)"},
    Option{"simulators", "DIR", "folder of the simulated modules (default: TRIGORA_SIMULATORS)"},
    Option{"json", "", "the answers of the simulated modules, one JSON object per line"},
    rootOption,
};

constexpr std::string_view panelDetails =
    R"(session plays all from the scanner's announcement to the end of job N (1 when not given) and stops at
the first step that fails; the other words are single steps. A network scanner announces itself, a USB scanner
is connected. pick takes job N of the list that was sent last. The capabilities are a sum: 1 office formats,
2 error recovery, 4 continue scanning, 8 jobs that must not be edited.

The agent must have been started with TRIGORA_SIMULATORS and with the simulated modules installed. A module
that you write takes the place of the simulated one. With a panel driver of your own, jobs are picked by their
number, the choices are those of its panel, and --data has what a USB panel sends in its encoding.
)";
constexpr std::string_view panelExamples = R"(  trigoractl panel session
  trigoractl panel session 2 --usb --pid 0x12A
  trigoractl panel pick 1 --choices resolution=3,saveFormat=4
)";

struct NumberOption {
    const char* option;
    const char* key; ///< in a command to the simulators
    std::int64_t least;
    std::int64_t most;
};
constexpr NumberOption numberOptions[] = {
    {"button", "button", 0, mostNumber},
    {"panel-version", "protocolVersion", -mostNumber, mostNumber},
    {"capabilities", "capabilities", 0, mostNumber},
    {"timeout", "timeout", -mostNumber, mostNumber},
    {"threads", "threads", 1, 64},
    {"times", "times", 1, 1000},
};
constexpr std::pair<const char*, const char*> textOptions[] = {
    {"product", "productID"}, {"ip", "ip"},       {"hardware", "hardware"},
    {"version", "version"},   {"model", "model"}, {"text", "text"}};

/// What can be done at a panel with one command to the simulators, and how that is told.
constexpr std::pair<const char*, const char*> simpleActions[] = {
    {"keep-alive", "The panel keeps the job alive"},
    {"continue", "The user adds a page"},
    {"complete", "The user has no further page"},
    {"cancel", "The user cancels the job"},
    {"end", "The job is over"},
    {"scan", "The user scans to this computer"},
    {"error", "The scan module reports an error"},
};

/// Text without any other character, from 0 to the most; none for anything else.
std::optional<std::int64_t> number(const std::string& text, std::int64_t most) {
    const std::optional<std::int64_t> value = wholeNumber(text);
    return value && *value >= 0 && *value <= most ? value : std::nullopt;
}

/// "name=code,…" as an object.
json choicesIn(const std::string& list) {
    const json known = simulators::describe(stRecvJobData{});
    json choices = json::object();
    for (const std::string& item : platform::componentsSeparatedByString(list, ",")) {
        const std::size_t equals = item.find('=');
        const auto code = equals == std::string::npos ? std::nullopt : number(item.substr(equals + 1), 255);
        if (!code || !known.contains(item.substr(0, equals))) {
            throw Failure(wrongUsage,
                          "\"" + item + "\" is no choice: NAME=CODE is, with " +
                              "imageType, resolution, scanningDevice, documentSize, orientation or " +
                              "saveFormat and a number up to 255");
        }
        choices[item.substr(0, equals)] = *code;
    }
    return choices;
}

/// Whether the installed panel driver is not the simulated one.
bool isPanelDriverForeign() {
    const auto driver = platform::current().bundles.create(paths::panelDriverModule());
    const std::string identifier =
        driver ? platform::textAt(driver->infoDictionary(), "CFBundleIdentifier").value_or("") : "";
    return driver && !identifier.starts_with("com.pelox.simulators.");
}

PanelUser::Options optionsIn(const Arguments& arguments) {
    PanelUser::Options options{.isUsb = arguments.has("usb"),
                               .printsJson = arguments.has("json"),
                               .usbProductID = 0,
                               .command = json::object(),
                               .choices = json::object(),
                               .hasForeignPanelDriver = isPanelDriverForeign()};
    options.usbProductID = static_cast<std::uint32_t>(
        arguments.integer("pid", usualUsbProductID, 0, std::numeric_limits<std::uint32_t>::max()));
    for (const auto& [option, key, least, most] : numberOptions) {
        if (arguments.has(option)) {
            options.command[key] = arguments.integer(option, 0, least, most);
        }
    }
    for (const auto& [option, key] : textOptions) {
        if (const auto text = arguments.text(option)) {
            options.command[key] = *text;
        }
    }
    if (const auto list = arguments.text("choices")) {
        options.choices = choicesIn(*list);
    }
    const std::string data = arguments.text("data").value_or("");
    if (!simulators::bytesOf(data)) {
        throw Failure(wrongUsage, "\"" + data + "\" is no data: pairs of hexadecimal digits are");
    }
    if (arguments.has(options.hasForeignPanelDriver ? "choices" : "data")) {
        throw Failure(wrongUsage, options.hasForeignPanelDriver
                                      ? "the installed panel driver has choices of its own: --data is for it"
                                      : "--data is for a panel driver that is not the simulated one");
    }
    if (options.hasForeignPanelDriver) {
        options.command["jobData"] = data;
    }
    return options;
}

/// None for an action that there is not.
std::optional<ExitCode> act(PanelUser& user, const std::string& action, std::int64_t job) {
    if (action == "session") {
        return user.playSession(job);
    }
    if (action == "announce" || action == "connect") {
        return user.connect();
    }
    if (action == "list") {
        return user.list();
    }
    if (action == "pick") {
        return user.pick(job);
    }
    for (const auto& [name, sentence] : simpleActions) {
        if (action == name) {
            return user.tell(action, sentence);
        }
    }
    return std::nullopt;
}

/// Throws a `Failure` for words behind the options that make no sense.
void requireSense(const std::vector<std::string>& words, bool isUsb) {
    if (words.empty()) {
        throw Failure(wrongUsage, "what is done at the panel is needed, e.g. \"panel session\"");
    }
    const std::string& action = words[0];
    const bool takesJob = action == "pick" || action == "session";
    if (words.size() > (takesJob ? 2U : 1U)) {
        throw Failure(wrongUsage, "what is " + words.back() + "?");
    }
    if (words.size() == 2 && number(words[1], mostNumber).value_or(0) < 1) {
        throw Failure(wrongUsage, "a job has a number from 1");
    }
    if (action == "pick" && words.size() < 2) {
        throw Failure(wrongUsage, "the number of a job is needed");
    }
    if ((action == "announce" && isUsb) || (action == "connect" && !isUsb)) {
        throw Failure(wrongUsage,
                      "a network scanner announces itself, a USB scanner is connected (connect --usb)");
    }
}

ExitCode runPanel(const Arguments& arguments, std::ostream& out, std::ostream& err) {
    const std::vector<std::string>& words = arguments.operands();
    requireSense(words, arguments.has("usb"));
    const PanelUser::Options options = optionsIn(arguments);
    const auto simulation = PanelSimulation::open(options.isUsb ? PanelSimulation::Connection::usb
                                                                : PanelSimulation::Connection::network,
                                                  arguments.text("simulators").value_or(""));
    if (!simulation) {
        throw Failure(wrongUsage, "the folder of the simulated modules is needed: --simulators DIR");
    }
    PanelUser user(options, *simulation, out, err);
    const std::int64_t job = words.size() == 2 ? *number(words[1], mostNumber) : 1;
    const std::optional<ExitCode> result = act(user, words[0], job);
    if (!result) {
        throw Failure(wrongUsage, "nobody can do \"" + words[0] + "\" at a panel");
    }
    return *result;
}

} // namespace

Command panelCommand() {
    return {.name = "panel",
            .operands = "session [N]|announce|connect|list|pick N|keep-alive|continue|complete|cancel|end|"
                        "scan|error",
            .summary = "Plays the user at a scanner's control panel, with the simulated modules.",
            .options = panelOptions,
            .run = runPanel,
            .details = panelDetails,
            .examples = panelExamples,
            .usesPlatform = true};
}

} // namespace trigora::tools
