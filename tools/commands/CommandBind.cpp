#include "tools/commands/CommandBind.h"

#include "catalogue/drivers/TrScannerDriverInformation.h"
#include "catalogue/events/TrEventInformation.h"
#include "files/InstalledPaths.h"
#include "platform/DistributedNotifications.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"
#include "projects/information/TrProjectInformation.h"
#include "tools/frame/ChangeReport.h"
#include "tools/frame/ModelOption.h"
#include "tools/frame/Report.h"
#include "tools/settings/DamagedFiles.h"
#include "tools/settings/EventCatalogue.h"
#include "tools/settings/ProjectCatalogue.h"
#include "tools/settings/ScannerModels.h"
#include "tools/settings/SettingsSession.h"
#include "tools/words/Wording.h"

#include <array>

namespace trigora::tools {

namespace {

using Driver = std::shared_ptr<TrScannerDriverInformation>;

constexpr std::array bindOptions{modelOption, jsonOption, rootOption};

constexpr std::string_view modelDetails =
    "Each scanner model has its own bindings. Without --model, those are changed that count for scanners\n"
    "without a model ID.\n";

constexpr std::string_view bindExamples = "  trigoractl bind 100 610 --model 0F01\n"
                                          "  trigoractl bind 201 701 --model 0F02\n";
constexpr std::string_view unbindExamples = "  trigoractl unbind 100 --model 0F01\n";

void requireChangeable(const TrEventInformation& event) {
    if (event.isDisableEventMapping()) {
        throw Failure(failed, "event " + idAndName(event) +
                                  " always runs its default project; it is installed "
                                  "as one that cannot be bound");
    }
}

bool isSupported(const TrEventInformation& event, const ListedProject& listed) {
    return listed.origin == ListedProject::Origin::noAction ||
           (event.isSupportProjectID(listed.id()) &&
            event.isSupportProjectType(listed.project->type().value_or("")));
}

void requireRunnable(const TrEventInformation& event, const ListedProject& listed,
                     const ListedProjects& projects) {
    if (!listed.isAvailable) {
        throw Failure(notFound, "project " + listed.idAndName() + " is not available: " +
                                    listed.problem.value_or("the agent leaves it out"));
    }
    if (isSupported(event, listed)) {
        return;
    }
    std::string supported;
    for (const ListedProject& other : projects) {
        if (other.project && other.isAvailable && isSupported(event, other)) {
            supported += (supported.empty() ? "" : ", ") + other.idAndName();
        }
    }
    throw Failure(notFound, "event " + idAndName(event) + " cannot run project " + listed.idAndName() +
                                (supported.empty() ? "" : "; it can run " + supported));
}

/// The same as `requireProject`, but tells of the projects that other events have.
const ListedProject& requireScanProject(const ListedProjects& projects, const std::string& projectID) {
    if (findProject(projects, projectID) == nullptr) {
        if (!projectID.empty() && projectID.find_first_not_of('0') == std::string::npos) {
            throw Failure(notFound, "the project that does nothing is there for scanners with job buttons "
                                    "only; trigoractl drivers lists them as of type 1");
        }
        const ListedProjects ofFolders = folderProjects();
        if (const ListedProject* other = findProject(ofFolders, projectID)) {
            throw Failure(notFound, "project " + other->idAndName() +
                                        " is one for watched folders, and no button can run it; see "
                                        "trigoractl watch");
        }
    }
    return requireProject(projects, projectID);
}

/// Goes over to the bindings of the driver's model, changes them in memory, and has them written and read
/// again. Throws a `Failure` when the file does not hold the change afterwards.
template <typename Change>
void changeBinding(SettingsSession& session, const Driver& driver, const std::string& eventID,
                   const std::optional<std::string>& expected, const Change& change) {
    session.allowChanges(driver);
    const auto manager = TrEventManager::sharedEventManager();
    manager->setScanEventPathWithModelID(modelOf(driver));
    change(*manager);
    manager->setScanEventPathWithModelID(modelOf(driver));
    const bool isWritten = platform::current().fileSystem.exists(paths::buttonBindingsFile(modelOf(driver)));
    if (!isWritten || manager->projectIDWithEventID(eventID) != expected) {
        throw Failure(failed, "the bindings could not be written to " +
                                  paths::buttonBindingsFile(modelOf(driver)) +
                                  "; is the disk full, or may you not write there?");
    }
    platform::current().notifications.post("ScanSettingsDidChangeNotification", std::nullopt, false);
}

Dictionary factsOf(const TrEventInformation& event, const Driver& driver) {
    return {{"event", valueOrNothing(event.eventID())},
            {"model", valueOrNothing(modelOf(driver))},
            {"file", paths::buttonBindingsFile(modelOf(driver))}};
}

ExitCode bind(const Arguments& arguments, std::ostream& out, std::ostream&) {
    const std::vector<std::string> operands = arguments.requireOperands({"EVENT", "PROJECT"});
    SettingsSession session(rootOf(arguments));
    const Driver driver = driverOption(arguments);
    const auto event = requireEvent(operands[0]);
    requireChangeable(*event);
    requireUndamaged(damagedBindingFiles(modelOf(driver)));
    const ListedProjects projects = scanProjects(driver);
    const ListedProject& project = requireScanProject(projects, operands[1]);
    requireRunnable(*event, project, projects);

    changeBinding(session, driver, operands[0], project.id(),
                  [&](TrEventManager& manager) { manager.setProjectID(project.id(), operands[0]); });
    ChangeReport report{.sentence = "Event " + idAndName(*event) + ofModel(driver) + " runs project " +
                                    project.idAndName() + ".",
                        .facts = factsOf(*event, driver),
                        .notes = {}};
    report.facts["project"] = project.id();
    report.addNote(project.problem);
    report.addNote(bindingNote(*event, driver));
    report.addNote(modelNote(driver));
    report.print(arguments, out);
    return done;
}

ExitCode unbind(const Arguments& arguments, std::ostream& out, std::ostream&) {
    const std::vector<std::string> operands = arguments.requireOperands({"EVENT"});
    SettingsSession session(rootOf(arguments));
    const Driver driver = driverOption(arguments);
    const auto event = requireEvent(operands[0]);
    requireUndamaged(damagedBindingFiles(modelOf(driver)));
    const auto manager = TrEventManager::sharedEventManager();
    manager->setScanEventPathWithModelID(modelOf(driver));
    if (!manager->projectIDWithEventID(operands[0])) {
        throw Failure(notFound,
                      "event " + idAndName(*event) + ofModel(driver) + " is not bound to a project");
    }

    changeBinding(session, driver, operands[0], std::nullopt,
                  [&](TrEventManager& bindings) { bindings.removeProjectIDWithEventID(operands[0]); });
    const std::optional<std::string> project = event->defaultProjectID(driver);
    ChangeReport report{.sentence = "Event " + idAndName(*event) + ofModel(driver) +
                                    " runs its default project again: " + textOrDash(project) + ".",
                        .facts = factsOf(*event, driver),
                        .notes = {}};
    report.facts["project"] = valueOrNothing(project);
    report.print(arguments, out);
    return done;
}

} // namespace

Command bindCommand() {
    return {.name = "bind",
            .operands = "EVENT PROJECT",
            .summary = "Has the event of a button run a project, both given by their IDs.",
            .options = bindOptions,
            .run = bind,
            .details = modelDetails,
            .examples = bindExamples,
            .usesPlatform = true};
}

Command unbindCommand() {
    return {.name = "unbind",
            .operands = "EVENT",
            .summary = "Has the event of a button run its default project again.",
            .options = bindOptions,
            .run = unbind,
            .details = modelDetails,
            .examples = unbindExamples,
            .usesPlatform = true};
}

} // namespace trigora::tools
