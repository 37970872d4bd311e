#include "tools/commands/CommandDrivers.h"

#include "catalogue/drivers/TrScannerDriverInformation.h"
#include "files/InstalledPaths.h"
#include "files/TrFilePathUtility.h"
#include "tools/frame/Report.h"
#include "tools/settings/ScannerModels.h"
#include "tools/settings/SettingsSession.h"
#include "tools/words/Wording.h"

#include <array>

namespace trigora::tools {

namespace {

constexpr std::array driversOptions{jsonOption, rootOption};

constexpr std::string_view driversExamples = "  trigoractl drivers\n"
                                             "  trigoractl drivers --json\n";

Value describedScanner(const KnownScanner& scanner,
                       const std::shared_ptr<TrScannerDriverInformation>& driver) {
    Dictionary described{{"driver", valueOrNothing(scanner.driverName)},
                         {"model", valueOrNothing(scanner.modelID)},
                         {"entry", scanner.isOfUser ? "user" : "installed"}};
    if (!driver) {
        for (const char* key : {"knownModel", "deviceType", "buttons", "eventKinds", "ownProjects",
                                "deviceSettings", "eventAlias", "projectFolder", "bindingsFile"}) {
            described[key] = Value();
        }
        return described;
    }
    described["knownModel"] = hasCapabilities(*scanner.modelID);
    described["deviceType"] = driver->driverType();
    described["buttons"] = driver->numberOfButton();
    described["eventKinds"] = driver->supportEventType();
    described["ownProjects"] = driver->isDependency();
    described["deviceSettings"] = valueOrNothing(driver->deviceSettingAlias());
    described["eventAlias"] = valueOrNothing(driver->eventAliasKeyName());
    described["projectFolder"] =
        TrFilePathUtility::sharedFilePathUtility()->customProjectPathWithScannerDriver(driver);
    described["bindingsFile"] = paths::buttonBindingsFile(scanner.modelID);
    return described;
}

ExitCode drivers(const Arguments& arguments, std::ostream& out, std::ostream&) {
    const SettingsSession session(rootOf(arguments));
    Table table({"DRIVER", "MODEL", "TYPE", "BUTTONS", "EVENT KINDS", "PROJECTS"});
    Array described;
    for (const KnownScanner& scanner : knownScanners()) {
        const auto driver = scanner.modelID ? driverOfModel(*scanner.modelID) : nullptr;
        described.push_back(describedScanner(scanner, driver));
        if (!driver) {
            table.add({textOrDash(scanner.driverName), "-", "-", "-", "-", "-"});
            continue;
        }
        table.add({textOrDash(scanner.driverName), *scanner.modelID, std::to_string(driver->driverType()),
                   std::to_string(driver->numberOfButton()), maskText(driver->supportEventType()),
                   driver->isDependency() ? "its own" : "shared"});
    }
    if (arguments.has("json")) {
        printJson(out, Dictionary{{"drivers", described}});
        return done;
    }
    if (table.isEmpty()) {
        throw Failure(notFound, "no drivers or models are listed in " + paths::scannerDriversFile() + " or " +
                                    paths::scannerCapabilityFile());
    }
    table.print(out);
    return done;
}

} // namespace

Command driversCommand() {
    return {.name = "drivers",
            .operands = "",
            .summary = "Lists the scanner drivers and models that the system knows.",
            .options = driversOptions,
            .run = drivers,
            .details =
                "The drivers are those of ScannerDrivers.ini, the user's own first; the models those of\n"
                "ScannerDevCap.ini. A driver that reports its model itself has no model here.\n",
            .examples = driversExamples,
            .usesPlatform = true};
}

} // namespace trigora::tools
