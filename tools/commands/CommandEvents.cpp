#include "tools/commands/CommandEvents.h"

#include "catalogue/drivers/TrScannerDriverInformation.h"
#include "catalogue/events/TrEventInformation.h"
#include "catalogue/events/TrMonitorEventInformation.h"
#include "files/InstalledPaths.h"
#include "platform/Platform.h"
#include "tools/frame/ModelOption.h"
#include "tools/frame/Report.h"
#include "tools/settings/DamagedFiles.h"
#include "tools/settings/EventCatalogue.h"
#include "tools/settings/ProjectCatalogue.h"
#include "tools/settings/ScannerModels.h"
#include "tools/settings/SettingsSession.h"
#include "tools/settings/WatchedFolders.h"
#include "tools/words/Wording.h"

#include <array>

namespace trigora::tools {

namespace {

constexpr std::array eventsOptions{
    modelOption,
    Option{"kind", "KIND", "only events of a kind: a name such as job, or a mask such as 0x4000"}, jsonOption,
    rootOption};

constexpr std::string_view eventsExamples = "  trigoractl events\n"
                                            "  trigoractl events --model 0F01 --kind button\n"
                                            "  trigoractl events --json\n";

/// "620 (Scan to Folder)", whether or not there is such a project.
std::string projectText(const std::optional<std::string>& projectID, const ListedProjects& projects) {
    const ListedProject* project = projectID ? findProject(projects, *projectID) : nullptr;
    return project != nullptr ? project->idAndName() : textOrDash(projectID);
}

Value describedEvent(const ListedEvent& listed) {
    const std::int32_t kind = listed.event->eventType().value_or(-1);
    return Dictionary{{"id", valueOrNothing(listed.event->eventID())},
                      {"name", valueOrNothing(listed.event->eventName())},
                      {"description", valueOrNothing(listed.event->description())},
                      {"kind", eventKindName(kind)},
                      {"kindMask", kind},
                      {"shown", listed.event->isShow()},
                      {"mayBeBound", !listed.event->isDisableEventMapping()},
                      {"defaultProject", valueOrNothing(listed.defaultProject)},
                      {"boundProject", valueOrNothing(listed.boundProject)},
                      {"project", valueOrNothing(listed.project())},
                      {"problem", valueOrNothing(listed.problem)}};
}

std::optional<std::string> problemOfWatch(const TrMonitorEventInformation& event,
                                          const ListedProjects& projects) {
    const std::vector<WatchProblem> problems = problemsOfWatch(event, projects);
    return problems.empty() ? std::nullopt : std::optional(problems.front().problem);
}

Value describedWatch(int number, const TrMonitorEventInformation& event, const ListedProjects& projects) {
    const std::optional<std::string> project = event.connectedProjectID(nullptr);
    return Dictionary{{"number", number},
                      {"name", valueOrNothing(event.eventName())},
                      {"folder", valueOrNothing(event.monitorFolderPath())},
                      {"interval", event.timeInterval().value_or(Value())},
                      {"project", valueOrNothing(project && project->empty() ? std::nullopt : project)},
                      {"problem", valueOrNothing(problemOfWatch(event, projects))}};
}

void printEvents(const std::vector<ListedEvent>& events, const ListedProjects& projects, std::ostream& out) {
    Table table({"EVENT", "NAME", "KIND", "RUNS", "BINDING", "PROBLEM"});
    for (const ListedEvent& listed : events) {
        const std::int32_t kind = listed.event->eventType().value_or(-1);
        table.add({textOrDash(listed.event->eventID()), textOrDash(listed.event->eventName()),
                   eventKindName(kind) + " " + maskText(kind), projectText(listed.project(), projects),
                   listed.boundProject ? "bound" : "default", listed.problem.value_or("")});
    }
    table.print(out);
}

void printWatches(const TrEventManager::MonitorEventList& events, const ListedProjects& projects,
                  std::ostream& out) {
    Table table({"WATCHED FOLDER", "PATH", "EVERY", "RUNS", "PROBLEM"});
    int number = 0;
    for (const auto& event : events) {
        const std::string interval =
            event->timeInterval() ? event->timeInterval()->description() + " s" : "-";
        table.add({std::to_string(++number), textOrDash(event->monitorFolderPath()), interval,
                   projectText(event->connectedProjectID(nullptr), projects),
                   problemOfWatch(*event, projects).value_or("")});
    }
    table.print(out);
}

std::vector<ListedEvent> ofKind(std::vector<ListedEvent> events, std::optional<std::int32_t> kind) {
    std::erase_if(events, [&](const ListedEvent& listed) {
        return kind && (listed.event->eventType().value_or(-1) & *kind) == 0;
    });
    return events;
}

ExitCode events(const Arguments& arguments, std::ostream& out, std::ostream& err) {
    const SettingsSession session(rootOf(arguments));
    const auto driver = driverOption(arguments);
    const auto kindText = arguments.text("kind");
    const auto kind = kindText ? std::optional(eventKindOf(*kindText)) : std::nullopt;
    const bool withWatches = !kind || *kind == TrEventInformation::monitorEventType;

    const ListedProjects projects = scanProjects(driver);
    const ListedProjects ofFolders = folderProjects();
    const std::vector<ListedEvent> listed = ofKind(listedEvents(driver, projects), kind);
    const auto& watches = TrEventManager::sharedEventManager()->monitorEventList();
    std::vector<std::string> damaged = damagedBindingFiles(modelOf(driver));
    if (withWatches) {
        const std::vector<std::string> ofWatches = damagedWatchedFolderFiles();
        damaged.insert(damaged.end(), ofWatches.begin(), ofWatches.end());
    }

    if (arguments.has("json")) {
        Dictionary object{{"model", valueOrNothing(modelOf(driver))},
                          {"bindingsFile", paths::buttonBindingsFile(modelOf(driver))},
                          {"damagedFiles", Array(damaged.begin(), damaged.end())}};
        Array described;
        for (const ListedEvent& entry : listed) {
            described.push_back(describedEvent(entry));
        }
        object["events"] = described;
        Array describedWatches;
        for (const auto& event : withWatches ? watches : TrEventManager::MonitorEventList()) {
            describedWatches.push_back(
                describedWatch(static_cast<int>(describedWatches.size()) + 1, *event, ofFolders));
        }
        object["watchedFolders"] = describedWatches;
        printJson(out, object);
    } else {
        printEvents(listed, projects, out);
        if (withWatches && !watches.empty()) {
            out << '\n';
            printWatches(watches, ofFolders, out);
        }
    }
    if (const auto note = modelNote(driver)) {
        err << "trigoractl: " << *note << '\n';
    }
    for (const std::string& path : damaged) {
        err << "trigoractl: " << damageSentence(path) << '\n';
    }
    return damaged.empty() ? done : failed;
}

} // namespace

Command eventsCommand() {
    return {.name = "events",
            .operands = "",
            .summary = "Lists the events with the projects that they run, and the watched folders.",
            .options = eventsOptions,
            .run = events,
            .details =
                "Without a model, all installed button events are listed with the bindings that count\n"
                "for scanners without a model ID; with one, the events that the model offers and its\n"
                "own bindings. PROBLEM says why an event would run nothing.\n",
            .examples = eventsExamples,
            .usesPlatform = true};
}

} // namespace trigora::tools
