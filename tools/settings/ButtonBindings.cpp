#include "tools/settings/ButtonBindings.h"

#include "catalogue/drivers/TrScannerDriverInformation.h"
#include "catalogue/events/TrEventInformation.h"
#include "catalogue/events/TrEventManager.h"
#include "files/InstalledPaths.h"
#include "files/NotificationNames.h"
#include "platform/DistributedNotifications.h"
#include "platform/FileSystem.h"
#include "platform/Platform.h"
#include "projects/information/TrProjectInformation.h"
#include "tools/settings/DamagedFiles.h"
#include "tools/settings/EventCatalogue.h"
#include "tools/settings/ProjectCatalogue.h"
#include "tools/settings/ScannerModels.h"
#include "tools/settings/SettingsError.h"
#include "tools/settings/SettingsSession.h"
#include "tools/words/Wording.h"

namespace trigora::tools {

namespace {

using Driver = std::shared_ptr<TrScannerDriverInformation>;

Value valueOrNothing(const std::optional<std::string>& text) { return text ? Value(*text) : Value(); }

void requireChangeable(const TrEventInformation& event) {
    if (event.isDisableEventMapping()) {
        throw SettingsError(SettingsError::Code::failed,
                            "event " + idAndName(event) +
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
        throw SettingsError(SettingsError::Code::notFound,
                            "project " + listed.idAndName() +
                                " is not available: " + listed.problem.value_or("the agent leaves it out"));
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
    throw SettingsError(SettingsError::Code::notFound,
                        "event " + idAndName(event) + " cannot run project " + listed.idAndName() +
                            (supported.empty() ? "" : "; it can run " + supported));
}

/// The same as `requireProject`, but tells of the projects that other events have.
const ListedProject& requireScanProject(const ListedProjects& projects, const std::string& projectID) {
    if (findProject(projects, projectID) == nullptr) {
        if (!projectID.empty() && projectID.find_first_not_of('0') == std::string::npos) {
            throw SettingsError(SettingsError::Code::notFound,
                                "the project that does nothing is there for scanners with job buttons only",
                                "; trigoractl drivers lists them as of type 1");
        }
        const ListedProjects ofFolders = folderProjects();
        if (const ListedProject* other = findProject(ofFolders, projectID)) {
            throw SettingsError(SettingsError::Code::notFound,
                                "project " + other->idAndName() +
                                    " is one for watched folders, and no button can run it",
                                "; see trigoractl watch");
        }
    }
    return requireProject(projects, projectID);
}

/// Goes over to the bindings of the driver's model, changes them in memory, and has them written and read
/// again. Throws a `SettingsError` when the file does not hold the change afterwards.
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
        throw SettingsError(SettingsError::Code::failed,
                            "the bindings could not be written to " +
                                paths::buttonBindingsFile(modelOf(driver)) +
                                "; is the disk full, or may you not write there?");
    }
    platform::current().notifications.post(notifications::scanSettingsDidChange, std::nullopt, false);
}

Dictionary factsOf(const TrEventInformation& event, const Driver& driver) {
    return {{"event", valueOrNothing(event.eventID())},
            {"model", valueOrNothing(modelOf(driver))},
            {"file", paths::buttonBindingsFile(modelOf(driver))}};
}

} // namespace

SettingsChange bindEvent(SettingsSession& session, const Driver& driver, const std::string& eventID,
                         const std::string& projectID) {
    const auto event = requireEvent(eventID);
    requireChangeable(*event);
    requireUndamaged(damagedBindingFiles(modelOf(driver)));
    const ListedProjects projects = scanProjects(driver);
    const ListedProject& project = requireScanProject(projects, projectID);
    requireRunnable(*event, project, projects);

    changeBinding(session, driver, eventID, project.id(),
                  [&](TrEventManager& manager) { manager.setProjectID(project.id(), eventID); });
    SettingsChange change{.sentence = "Event " + idAndName(*event) + ofModel(driver) + " runs project " +
                                      project.idAndName() + ".",
                          .facts = factsOf(*event, driver),
                          .notes = {}};
    change.facts["project"] = project.id();
    change.addNote(project.problem);
    change.addNote(bindingNote(*event, driver));
    change.addNote(modelNote(driver));
    return change;
}

SettingsChange unbindEvent(SettingsSession& session, const Driver& driver, const std::string& eventID) {
    const auto event = requireEvent(eventID);
    requireUndamaged(damagedBindingFiles(modelOf(driver)));
    const auto manager = TrEventManager::sharedEventManager();
    manager->setScanEventPathWithModelID(modelOf(driver));
    if (!manager->projectIDWithEventID(eventID)) {
        throw SettingsError(SettingsError::Code::notFound,
                            "event " + idAndName(*event) + ofModel(driver) + " is not bound to a project");
    }

    changeBinding(session, driver, eventID, std::nullopt,
                  [&](TrEventManager& bindings) { bindings.removeProjectIDWithEventID(eventID); });
    const std::optional<std::string> project = event->defaultProjectID(driver);
    SettingsChange change{.sentence = "Event " + idAndName(*event) + ofModel(driver) +
                                      " runs its default project again: " + textOrDash(project) + ".",
                          .facts = factsOf(*event, driver),
                          .notes = {}};
    change.facts["project"] = valueOrNothing(project);
    return change;
}

} // namespace trigora::tools
