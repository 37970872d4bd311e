#include "tools/commands/CommandActions.h"

#include "catalogue/actions/TrActionInformation.h"
#include "catalogue/actions/TrActionManager.h"
#include "files/InstalledPaths.h"
#include "tools/frame/Report.h"
#include "tools/settings/InstalledActions.h"
#include "tools/settings/SettingsSession.h"
#include "tools/words/Wording.h"

#include <array>

namespace trigora::tools {

namespace {

constexpr std::array actionsOptions{jsonOption, rootOption};

constexpr std::string_view actionsExamples = "  trigoractl actions\n"
                                             "  trigoractl actions --json\n";

std::string passes(TrActionInformation& action) {
    if (action.option() == "0x0001") {
        return "the files";
    }
    return action.option() == "0x0002" ? "their folder" : "-";
}

ExitCode actions(const Arguments& arguments, std::ostream& out, std::ostream&) {
    const SettingsSession session(rootOf(arguments));
    Table table({"ACTION", "NAME", "GETS", "APPLICATION", "AVAILABLE", "PROBLEM"});
    Array described;
    for (const InstalledAction& installed : installedActions()) {
        TrActionInformation& action = *installed.action;
        const std::string application = action.applicationPath().value_or(installed.namedApplication);
        const bool isAvailable = action.isRunableAction();
        const std::optional<std::string> problem =
            isAvailable ? std::nullopt
                        : std::optional("its application is missing: " + textOrDash(application));
        table.add({textOrDash(action.actionID()), textOrDash(action.projectApplicationName()), passes(action),
                   textOrDash(application), isAvailable ? "yes" : "no", problem.value_or("")});
        described.push_back(Dictionary{{"id", valueOrNothing(action.actionID())},
                                       {"name", valueOrNothing(action.projectApplicationName())},
                                       {"description", valueOrNothing(action.description())},
                                       {"option", valueOrNothing(action.option())},
                                       {"application", application},
                                       {"signature", valueOrNothing(action.signature())},
                                       {"file", installed.path},
                                       {"available", isAvailable},
                                       {"problem", valueOrNothing(problem)}});
    }
    if (arguments.has("json")) {
        printJson(out, Dictionary{{"actions", described}});
        return done;
    }
    if (table.isEmpty()) {
        throw Failure(notFound, "no actions are installed in " + paths::actionFolder());
    }
    table.print(out);
    return done;
}

} // namespace

Command actionsCommand() {
    return {.name = "actions",
            .operands = "",
            .summary = "Lists the installed actions: what a project can open after a scan.",
            .options = actionsOptions,
            .run = actions,
            .details = "A project may open any other application, too: see --application of project new.\n",
            .examples = actionsExamples,
            .usesPlatform = true};
}

} // namespace trigora::tools
