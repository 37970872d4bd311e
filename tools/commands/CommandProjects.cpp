#include "tools/commands/CommandProjects.h"

#include "catalogue/actions/TrActionInformation.h"
#include "projects/information/TrProjectInformation.h"
#include "tools/frame/ModelOption.h"
#include "tools/frame/Report.h"
#include "tools/settings/ProjectCatalogue.h"
#include "tools/settings/ScannerModels.h"
#include "tools/settings/SettingsSession.h"
#include "tools/words/Wording.h"

#include <array>

namespace trigora::tools {

namespace {

constexpr std::array projectsOptions{
    modelOption, Option{"folder", "", "only the projects for watched folders"}, jsonOption, rootOption};

constexpr std::string_view projectsExamples = "  trigoractl projects\n"
                                              "  trigoractl projects --model 0F01\n"
                                              "  trigoractl projects --folder --json\n";

std::string applicationName(const ListedProject& listed) {
    const auto action = listed.project ? listed.project->actionInformation() : nullptr;
    return textOrDash(action ? action->projectApplicationName() : std::nullopt);
}

/// All that is known of a project, for programs.
Dictionary describedProject(const ListedProject& listed, const platform::InstallationRoot& root) {
    Dictionary described{{"list", originName(listed.origin)},
                         {"file", listed.path.empty() ? Value() : Value(root.onDisk(listed.path))},
                         {"available", listed.isAvailable},
                         {"problem", valueOrNothing(listed.problem)}};
    if (!listed.project) {
        for (const char* key : {"id", "name", "description", "type", "shown", "action", "scanSettings"}) {
            described[key] = Value();
        }
        return described;
    }
    TrProjectInformation& project = *listed.project;
    described["id"] = valueOrNothing(project.projectID());
    described["name"] = valueOrNothing(project.projectName());
    described["description"] = valueOrNothing(project.description());
    described["type"] = valueOrNothing(project.type());
    described["shown"] = project.isShow();
    described["action"] = Value();
    if (const auto& action = project.actionInformation()) {
        described["action"] = Dictionary{{"id", valueOrNothing(action->actionID())},
                                         {"name", valueOrNothing(action->projectApplicationName())},
                                         {"application", valueOrNothing(action->applicationPath())}};
    }
    described["scanSettings"] = project.isScanAble() ? Value(project.scanSettings()) : Value();
    return described;
}

void print(const ListedProjects& projects, std::ostream& out) {
    Table table({"PROJECT", "NAME", "LIST", "TYPE", "THEN OPENS", "AVAILABLE", "PROBLEM"});
    for (const ListedProject& listed : projects) {
        const TrProjectInformation* project = listed.project.get();
        table.add({textOrDash(listed.id()), textOrDash(project ? project->projectName() : std::nullopt),
                   originName(listed.origin), textOrDash(project ? project->type() : std::nullopt),
                   applicationName(listed), listed.isAvailable ? "yes" : "no", listed.problem.value_or("")});
    }
    table.print(out);
}

ExitCode projects(const Arguments& arguments, std::ostream& out, std::ostream& err) {
    const SettingsSession session(rootOf(arguments));
    const auto driver = driverOption(arguments);
    const bool onlyFolders = arguments.has("folder");
    if (onlyFolders && driver) {
        throw Failure(wrongUsage, "projects for watched folders belong to no model");
    }
    ListedProjects listed = onlyFolders ? ListedProjects() : scanProjects(driver);
    if (!driver) {
        for (ListedProject& project : folderProjects()) {
            listed.push_back(std::move(project));
        }
    }
    if (arguments.has("json")) {
        Array described;
        for (const ListedProject& project : listed) {
            described.push_back(describedProject(project, rootOf(arguments)));
        }
        printJson(out, Dictionary{{"model", valueOrNothing(modelOf(driver))}, {"projects", described}});
    } else {
        print(listed, out);
    }
    if (const auto note = modelNote(driver)) {
        err << "trigoractl: " << *note << '\n';
    }
    return done;
}

} // namespace

Command projectsCommand() {
    return {.name = "projects",
            .operands = "",
            .summary = "Lists the projects and says why one is not available.",
            .options = projectsOptions,
            .run = projects,
            .details =
                "With a model, its own list counts: that of the model if it keeps its projects apart,\n"
                "else the one that all other models share. The projects that come with a device are\n"
                "put into its list when it is first used.\n",
            .examples = projectsExamples,
            .usesPlatform = true};
}

} // namespace trigora::tools
