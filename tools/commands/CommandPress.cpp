#include "tools/commands/CommandPress.h"

#include "agent/event/ScanEventRecord.h"
#include "agent/service/ScanEventMapping.h"
#include "platform/Text.h"
#include "tools/bus/SessionBus.h"
#include "tools/frame/Report.h"
#include "tools/settings/ScannerModels.h"
#include "tools/words/Wording.h"

#include <array>
#include <limits>

namespace trigora::tools {

namespace {

constexpr std::array pressOptions{
    Option{"driver", "NAME", "driver name of the scanner, e.g. \"SANE Test Scanner\"", true},
    Option{"model", "NAME", "model name that the scanner reports (default: the driver name)"},
    Option{"button", "N", "number of the button, with feature bits if there are any", true},
    jsonOption,
    rootOption,
};

constexpr std::string_view pressExamples =
    "  trigoractl press --driver \"SANE Test Scanner\" --button 1\n"
    "  trigoractl press --driver \"PELOX Scanner\" --model XY-1 --button 19\n";

ExitCode press(const Arguments& arguments, std::ostream& out, std::ostream& err) {
    const std::string driver = arguments.text("driver").value_or("");
    const std::string model = arguments.text("model").value_or(driver);
    const auto status = static_cast<std::uint32_t>(
        arguments.integer("button", 0, 0, std::numeric_limits<std::uint32_t>::max()));
    if (driver.empty() || driver.size() > longestScannerName || model.size() > longestScannerName) {
        throw Failure(wrongUsage, "a driver or model name has 1 to 32 bytes");
    }
    std::string error;
    const std::optional<SessionBus> bus = SessionBus::open(error);
    if (!bus) {
        throw Failure(unreachable, error);
    }
    const ScanEvent event{.modelName = model, .driverName = driver, .eventStatus = status};
    if (const auto note =
            driverNameNote(platform::textAt(currentEventOf(event), "driverName").value_or(""))) {
        err << "trigoractl: " << *note << '\n';
    }
    const SessionBus::Delivery delivery = bus->sendToAgent(scanButtonEvent(event), error);
    if (delivery != SessionBus::Delivery::handled) {
        throw Failure(delivery == SessionBus::Delivery::agentMissing ? unreachable : failed, error);
    }
    if (arguments.has("json")) {
        printJson(out, Dictionary{{"driver", driver}, {"model", model}, {"button", std::int64_t{status}}});
    } else {
        out << "Button " << status << " of " << printable(driver) << " was pressed.\n";
    }
    return done;
}

} // namespace

Command pressCommand() {
    return {.name = "press",
            .operands = "",
            .summary =
                "Tells the agent that a button of a scanner was pressed, as the scanner's driver would.",
            .options = pressOptions,
            .run = press,
            .details = "trigoractl explain press tells what comes of it.\n",
            .examples = pressExamples,
            .usesPlatform = true};
}

} // namespace trigora::tools
