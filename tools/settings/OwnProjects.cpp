#include "tools/settings/OwnProjects.h"

#include "catalogue/actions/TrActionInformation.h"
#include "catalogue/drivers/TrScannerDriverInformation.h"
#include "files/TrFilePathUtility.h"
#include "platform/Text.h"
#include "projects/information/TrProjectInformation.h"
#include "projects/settings/ScanSettingSchema.h"
#include "tools/settings/DamagedFiles.h"
#include "tools/settings/ScannerModels.h"
#include "tools/settings/SettingsError.h"
#include "tools/settings/SettingsSession.h"
#include "tools/words/Wording.h"

#include <algorithm>

namespace trigora::tools {

namespace {

constexpr const char* scanProjectType = "0x0001";
constexpr const char* predefinedScanProjectType = "0x8001";

Value valueOrNothing(const std::optional<std::string>& text) { return text ? Value(*text) : Value(); }

/// Throws a `SettingsError` when something of the project cannot be read, as writing or copying would lose
/// it.
void requireWhole(const ListedProject& listed) {
    if (const auto damaged = damagedScanSettings(listed.path)) {
        throw SettingsError(SettingsError::Code::failed, damageSentence(*damaged) + ". Nothing was changed");
    }
    if (!listed.project->projectName()) {
        throw SettingsError(SettingsError::Code::failed, "the name of project " + listed.id() +
                                                             " cannot be read from the folder beside " +
                                                             listed.path + ". Nothing was changed");
    }
}

void requireKeptAction(const ListedProject& listed) {
    if (wouldLoseAction(*listed.project)) {
        throw SettingsError(SettingsError::Code::failed,
                            "project " + listed.idAndName() + " would lose its action, because " +
                                listed.problem.value_or("it cannot be read") + "; install that",
                            ", or choose another with --action or --application");
    }
}

void requireAllowed(const ListedProject& listed, const ScanSettingChanges& changes, bool changesAction) {
    const auto refuse = [&](const char* what) {
        throw SettingsError(SettingsError::Code::failed,
                            "project " + listed.idAndName() + " does not let its " + what + " be changed");
    };
    const TrProjectInformation& project = *listed.project;
    for (const ScanSettingChange& change : changes) {
        if (change.setting->key == scan_settings::folderPath.key && !project.isSavePathChangeAble()) {
            refuse("folder");
        }
        if (change.setting->key == scan_settings::fileFormat.key && !project.isFileFormatSelectable()) {
            refuse("file format");
        }
    }
    if (changesAction && !project.isActionChangeAble()) {
        refuse("action");
    }
}

void apply(TrProjectInformation& project, const ScanSettingChanges& changes) {
    Dictionary settings = project.scanSettings();
    for (const ScanSettingChange& change : changes) {
        if (change.value) {
            settings.insert_or_assign(std::string(change.setting->key), *change.value);
        } else {
            settings.erase(std::string(change.setting->key));
        }
    }
    project.setScanSettings(settings);
}

} // namespace

OwnProjects OwnProjects::ofDriver(SettingsSession& session,
                                  const std::shared_ptr<TrScannerDriverInformation>& driver) {
    return {session, driver, ProjectStore::ofDriver(driver), scanProjects(driver)};
}

OwnProjects OwnProjects::ofFolders(SettingsSession& session) {
    return {session, nullptr, ProjectStore::ofFolders(), folderProjects()};
}

const ListedProject& OwnProjects::requireOwn(const std::string& projectID) const {
    const auto own = std::ranges::find_if(projects_, [&](const ListedProject& listed) {
        return listed.project && listed.id() == projectID &&
               std::ranges::find(store_.list(), listed.project) != store_.list().end();
    });
    if (own != projects_.end()) {
        return *own;
    }
    const ListedProject& other = requireProject(projects_, projectID);
    throw SettingsError(SettingsError::Code::failed,
                        "project " + other.idAndName() + " is installed with the system and stays as it is",
                        "; trigoractl project copy makes one of your own of it");
}

SettingsChange OwnProjects::changeOf(const std::string& sentence, const TrProjectInformation& project,
                                     const std::string& projectID) const {
    const auto origin = isOfFolders() ? ListedProject::Origin::folder : ListedProject::Origin::own;
    SettingsChange change{.sentence = sentence,
                          .facts = {{"project", projectID},
                                    {"list", originName(origin)},
                                    {"model", valueOrNothing(modelOf(driver_))},
                                    {"file", valueOrNothing(project.projectFilePath())}},
                          .notes = {}};
    change.addNote(modelNote(driver_));
    return change;
}

SettingsChange OwnProjects::makeNew(const std::string& name, const ScanSettingChanges& changes,
                                    const std::shared_ptr<TrActionInformation>& action) {
    store_.requireFreeName(name);
    const std::string id = store_.freeID();
    const auto project = std::make_shared<TrProjectInformation>();
    project->setDefaultSettingsWithName(name, id, !isOfFolders());
    store_.placeProject(*project, name, id);
    project->setActionInformation(action);
    if (!isOfFolders()) {
        apply(*project, changes);
    }
    session_.allowChanges(driver_);
    store_.add(project);
    return changeOf("Project " + id + " (" + name + ") was made.", *project, id);
}

SettingsChange OwnProjects::copy(const std::string& sourceID, const std::string& name,
                                 const ScanSettingChanges& changes) {
    const ListedProject& source = requireProject(projects_, sourceID);
    const bool isPredefined = source.origin == ListedProject::Origin::predefined;
    const auto type = source.project->type();
    if ((isPredefined && type != predefinedScanProjectType) ||
        source.origin == ListedProject::Origin::noAction) {
        throw SettingsError(SettingsError::Code::failed,
                            "project " + source.idAndName() +
                                " is one of the system's own ways to run and has no scan settings to copy");
    }
    requireWhole(source);
    requireKeptAction(source);
    store_.requireFreeName(name);
    const std::string id = store_.freeID();

    const auto made = source.project->copyProjectInformation();
    store_.placeProject(*made, name, id);
    if (isPredefined) {
        made->setType(scanProjectType);
        made->setIsShow(true);
        made->setFeatureKillBits(std::nullopt);
    }
    if (!isOfFolders()) {
        apply(*made, changes);
    }
    session_.allowChanges(driver_);
    store_.add(made);
    SettingsChange change =
        changeOf("Project " + id + " (" + name + ") was made from " + source.idAndName() + ".", *made, id);
    change.facts["copyOf"] = source.id();
    return change;
}

SettingsChange OwnProjects::change(const std::string& projectID, const ScanSettingChanges& changes,
                                   const std::shared_ptr<TrActionInformation>& action) {
    const ListedProject& listed = requireOwn(projectID);
    requireWhole(listed);
    requireAllowed(listed, changes, action != nullptr);
    TrProjectInformation& project = *listed.project;
    if (!changes.empty() && !project.isScanAble()) {
        throw SettingsError(SettingsError::Code::failed,
                            "project " + listed.idAndName() + " does not scan, so it has no scan settings");
    }
    const bool hasSettingsFile = project.scanSettingsFilePath().has_value();
    const bool writesAll = action != nullptr || !hasSettingsFile;
    if (!action && writesAll) {
        requireKeptAction(listed);
    }

    const std::string text = listed.idAndName();
    if (action) {
        project.setActionInformation(action);
    }
    if (project.isScanAble() && !hasSettingsFile) {
        const std::string own = platform::deletingPathExtension(listed.path);
        project.setScanSettingsPath(platform::appendingPathComponent(
            own, TrFilePathUtility::sharedFilePathUtility()->scanSettingsFileName()));
        project.setPdfSettingFolderAtScanSettings(own);
    }
    if (project.isScanAble()) {
        apply(project, changes);
    }
    session_.allowChanges(driver_);
    if (writesAll) {
        store_.write(listed.project);
    } else {
        store_.writeScanSettings(listed.project);
    }
    SettingsChange change = changeOf("Project " + text + " was changed.", project, projectID);
    change.addNote(actionProblem(project));
    change.facts["scanSettings"] = project.isScanAble() ? Value(project.scanSettings()) : Value();
    return change;
}

SettingsChange OwnProjects::remove(const std::string& projectID, bool byForce) {
    const ListedProject& listed = requireOwn(projectID);
    if (!byForce) {
        requireUndamaged(store_.damagedUserFiles());
    }
    const std::vector<std::string> users = store_.usersOf(projectID);
    const std::vector<std::string> foreign = ProjectStore::foreignFilesOf(*listed.project);
    if (!listed.project->canDeleteRename()) {
        throw SettingsError(SettingsError::Code::failed,
                            "project " + listed.idAndName() + " does not let itself be deleted");
    }
    if (!byForce && !users.empty()) {
        throw SettingsError(SettingsError::Code::failed,
                            "project " + listed.idAndName() + " is what runs for " + joined(users, ", "),
                            std::string(isOfFolders() ? "; give that another one with trigoractl watch"
                                                      : "; bind another one first") +
                                ", or use --force");
    }
    if (!byForce && !foreign.empty()) {
        throw SettingsError(SettingsError::Code::failed,
                            "the folder of project " + listed.idAndName() +
                                " holds other files, which would be deleted, too: " + joined(foreign, ", "),
                            "; move them away, or use --force");
    }

    const std::string text = listed.idAndName();
    session_.allowChanges(driver_);
    store_.remove(listed.project);
    SettingsChange change = changeOf("Project " + text + " was deleted.", *listed.project, projectID);
    if (!users.empty()) {
        change.addNote("nothing runs any more for " + joined(users, ", "));
    }
    return change;
}

} // namespace trigora::tools
