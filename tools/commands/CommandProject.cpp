#include "tools/commands/CommandProject.h"

#include "catalogue/actions/TrActionInformation.h"
#include "catalogue/drivers/TrScannerDriverInformation.h"
#include "platform/Text.h"
#include "projects/information/TrProjectInformation.h"
#include "projects/settings/ScanSettingSchema.h"
#include "tools/frame/ChangeReport.h"
#include "tools/frame/ModelOption.h"
#include "tools/frame/Report.h"
#include "tools/settings/DamagedFiles.h"
#include "tools/settings/InstalledActions.h"
#include "tools/settings/ProjectCatalogue.h"
#include "tools/settings/ProjectStore.h"
#include "tools/settings/ScanSettingValues.h"
#include "tools/settings/ScannerModels.h"
#include "tools/settings/SettingsSession.h"
#include "tools/words/Wording.h"

#include <algorithm>
#include <array>
#include <sstream>

namespace trigora::tools {

namespace {

using Project = std::shared_ptr<TrProjectInformation>;
using Changes = std::vector<ScanSettingChange>;

constexpr const char* scanProjectType = "0x0001";
constexpr const char* predefinedScanProjectType = "0x8001";

constexpr Option folderOption{"folder", "", "a project for watched folders, which scans nothing"};
constexpr Option actionOption{"action", "ID", "installed action to perform with the files"};
constexpr Option applicationOption{"application", "PATH", "application to open the files with"};

constexpr std::array writeOptions{modelOption,       folderOption, actionOption,
                                  applicationOption, jsonOption,   rootOption};
constexpr std::array copyOptions{modelOption, folderOption, jsonOption, rootOption};
constexpr std::array deleteOptions{
    modelOption, folderOption,
    Option{"force", "", "also when something is bound to it or its folder holds other files"}, jsonOption,
    rootOption};

constexpr std::string_view newExamples =
    "  trigoractl project new Invoices resolution=300 fileFormat=PDF folderPath=~/Scans --action 300\n"
    "  trigoractl project new \"For the printer\" --folder --action 330\n"
    "  trigoractl project new Notes --model 0F01 --application /usr/bin/gedit imageType=bw\n";
constexpr std::string_view copyExamples =
    "  trigoractl project copy 610 \"Scan to PDF in colour\" imageType=color\n";
constexpr std::string_view setExamples =
    "  trigoractl project set 701 resolution=300 fileFormat=PDF folderPath=~/Scans\n"
    "  trigoractl project set 701 --folder --action 310\n";
constexpr std::string_view deleteExamples = "  trigoractl project delete 701\n"
                                            "  trigoractl project delete 702 --model 0F01\n";

/// The list that a command line is about.
struct Target {
    std::shared_ptr<TrScannerDriverInformation> driver;
    ProjectStore store;
    ListedProjects projects;

    /// The options that name this list again.
    std::string optionText() const { return store.isOfFolders() ? " --folder" : modelOptionText(driver); }
};

Target targetOf(const Arguments& arguments) {
    const auto driver = driverOption(arguments);
    if (arguments.has("folder")) {
        if (driver) {
            throw Failure(wrongUsage, "--folder and --model do not go together: the projects for watched "
                                      "folders belong to no model");
        }
        return {nullptr, ProjectStore::ofFolders(), folderProjects()};
    }
    return {driver, ProjectStore::ofDriver(driver), scanProjects(driver)};
}

/// The action that the options name; null when they name none.
std::shared_ptr<TrActionInformation> actionOfOptions(const Arguments& arguments) {
    const auto action = arguments.text("action");
    const auto application = arguments.text("application");
    if (action && application) {
        throw Failure(wrongUsage, "--action and --application do not go together");
    }
    if (action) {
        return requireAction(*action);
    }
    return application ? actionOfApplication(*application) : nullptr;
}

const std::string& firstOperand(const Arguments& arguments, const char* name) {
    if (arguments.operands().empty()) {
        throw Failure(wrongUsage, std::string(name) + " is missing");
    }
    return arguments.operands().front();
}

Changes changesAfter(const Arguments& arguments, std::size_t count, const Target& target) {
    const std::span<const std::string> operands(arguments.operands());
    Changes changes;
    for (const std::string& word : operands.subspan(std::min(count, operands.size()))) {
        const std::size_t equals = word.find('=');
        if (equals == std::string::npos) {
            throw Failure(wrongUsage, "what is " + printable(word) + "? Scan settings are written KEY=VALUE");
        }
        changes.push_back(readScanSettingChange(word.substr(0, equals), word.substr(equals + 1)));
    }
    if (!changes.empty() && target.store.isOfFolders()) {
        throw Failure(wrongUsage, "a project for watched folders has no scan settings");
    }
    return changes;
}

/// The user's own project with that ID; throws a `Failure` for all others.
const ListedProject& requireOwn(const Target& target, const std::string& projectID) {
    const auto own = std::ranges::find_if(target.projects, [&](const ListedProject& listed) {
        return listed.project && listed.id() == projectID &&
               std::ranges::find(target.store.list(), listed.project) != target.store.list().end();
    });
    if (own != target.projects.end()) {
        return *own;
    }
    const ListedProject& other = requireProject(target.projects, projectID);
    throw Failure(failed, "project " + other.idAndName() +
                              " is installed with the system and stays as it is; "
                              "trigoractl project copy makes one of your own of it");
}

/// Throws a `Failure` when something of the project cannot be read, as writing or copying would lose it.
void requireWhole(const ListedProject& listed) {
    if (const auto damaged = damagedScanSettings(listed.path)) {
        throw Failure(failed, damageSentence(*damaged) + ". Nothing was changed");
    }
    if (!listed.project->projectName()) {
        throw Failure(failed, "the name of project " + listed.id() +
                                  " cannot be read from the folder beside " + listed.path +
                                  ". Nothing was changed");
    }
}

void requireKeptAction(const ListedProject& listed) {
    if (wouldLoseAction(*listed.project)) {
        throw Failure(failed, "project " + listed.idAndName() + " would lose its action, because " +
                                  listed.problem.value_or("it cannot be read") +
                                  "; install that, or choose another with --action or --application");
    }
}

void requireAllowed(const ListedProject& listed, const Changes& changes, bool changesAction) {
    const auto refuse = [&](const char* what) {
        throw Failure(failed, "project " + listed.idAndName() + " does not let its " + what + " be changed");
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

void apply(TrProjectInformation& project, const Changes& changes) {
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

/// What a command on one project prints.
ChangeReport reportOn(const std::string& what, const TrProjectInformation& project, const std::string& id,
                      const Target& target) {
    const auto origin =
        target.store.isOfFolders() ? ListedProject::Origin::folder : ListedProject::Origin::own;
    ChangeReport report{.sentence = what,
                        .facts = {{"project", id},
                                  {"list", originName(origin)},
                                  {"model", valueOrNothing(modelOf(target.driver))},
                                  {"file", valueOrNothing(project.projectFilePath())}},
                        .notes = {}};
    report.addNote(modelNote(target.driver));
    return report;
}

ExitCode makeNew(const Arguments& arguments, std::ostream& out, std::ostream&) {
    const std::string& name = firstOperand(arguments, "NAME");
    SettingsSession session(rootOf(arguments));
    Target target = targetOf(arguments);
    const bool isOfFolders = target.store.isOfFolders();
    const Changes changes = changesAfter(arguments, 1, target);
    const auto action = actionOfOptions(arguments);
    if (isOfFolders && !action) {
        throw Failure(wrongUsage, "a project for watched folders needs --action or --application");
    }
    target.store.requireFreeName(name);
    const std::string id = target.store.freeID();

    const auto project = std::make_shared<TrProjectInformation>();
    project->setDefaultSettingsWithName(name, id, !isOfFolders);
    target.store.placeProject(*project, name, id);
    project->setActionInformation(action);
    if (!isOfFolders) {
        apply(*project, changes);
    }
    session.allowChanges(target.driver);
    target.store.add(project);
    ChangeReport report = reportOn("Project " + id + " (" + name + ") was made.", *project, id, target);
    if (!action) {
        report.addNote("nothing is opened after the scan; trigoractl project set " + id +
                       target.optionText() + " --action ID changes that");
    }
    report.print(arguments, out);
    return done;
}

ExitCode copy(const Arguments& arguments, std::ostream& out, std::ostream&) {
    const std::string& sourceID = firstOperand(arguments, "ID");
    if (arguments.operands().size() < 2) {
        throw Failure(wrongUsage, "NEWNAME is missing");
    }
    const std::string& name = arguments.operands()[1];
    SettingsSession session(rootOf(arguments));
    Target target = targetOf(arguments);
    const Changes changes = changesAfter(arguments, 2, target);
    const ListedProject& source = requireProject(target.projects, sourceID);
    const bool isPredefined = source.origin == ListedProject::Origin::predefined;
    const auto type = source.project->type();
    if ((isPredefined && type != predefinedScanProjectType) ||
        source.origin == ListedProject::Origin::noAction) {
        throw Failure(failed, "project " + source.idAndName() +
                                  " is one of the system's own ways to run and has "
                                  "no scan settings to copy");
    }
    requireWhole(source);
    requireKeptAction(source);
    target.store.requireFreeName(name);
    const std::string id = target.store.freeID();

    const Project made = source.project->copyProjectInformation();
    target.store.placeProject(*made, name, id);
    if (isPredefined) {
        made->setType(scanProjectType);
        made->setIsShow(true);
        made->setFeatureKillBits(std::nullopt);
    }
    if (!target.store.isOfFolders()) {
        apply(*made, changes);
    }
    session.allowChanges(target.driver);
    target.store.add(made);
    ChangeReport report = reportOn(
        "Project " + id + " (" + name + ") was made from " + source.idAndName() + ".", *made, id, target);
    report.facts["copyOf"] = source.id();
    report.print(arguments, out);
    return done;
}

ExitCode set(const Arguments& arguments, std::ostream& out, std::ostream&) {
    const std::string& id = firstOperand(arguments, "ID");
    SettingsSession session(rootOf(arguments));
    Target target = targetOf(arguments);
    const Changes changes = changesAfter(arguments, 1, target);
    const auto action = actionOfOptions(arguments);
    if (changes.empty() && !action) {
        throw Failure(wrongUsage, "there is nothing to set: give KEY=VALUE, --action or --application");
    }
    const ListedProject& listed = requireOwn(target, id);
    requireWhole(listed);
    requireAllowed(listed, changes, action != nullptr);
    if (!changes.empty() && !listed.project->isScanAble()) {
        throw Failure(failed, "project " + listed.idAndName() + " does not scan, so it has no scan settings");
    }
    const bool hasSettingsFile = listed.project->scanSettingsFilePath().has_value();
    const bool writesAll = action != nullptr || !hasSettingsFile;
    if (!action && writesAll) {
        requireKeptAction(listed);
    }

    const std::string text = listed.idAndName();
    if (action) {
        listed.project->setActionInformation(action);
    }
    if (listed.project->isScanAble() && !hasSettingsFile) {
        const std::string own = platform::deletingPathExtension(listed.path);
        listed.project->setScanSettingsPath(platform::appendingPathComponent(own, "ScanSetting.plist"));
        listed.project->setPdfSettingFolderAtScanSettings(own);
    }
    if (listed.project->isScanAble()) {
        apply(*listed.project, changes);
    }
    session.allowChanges(target.driver);
    if (writesAll) {
        target.store.write(listed.project);
    } else {
        target.store.writeScanSettings(listed.project);
    }
    ChangeReport report = reportOn("Project " + text + " was changed.", *listed.project, id, target);
    report.addNote(actionProblem(*listed.project));
    report.facts["scanSettings"] =
        listed.project->isScanAble() ? Value(listed.project->scanSettings()) : Value();
    report.print(arguments, out);
    return done;
}

ExitCode remove(const Arguments& arguments, std::ostream& out, std::ostream&) {
    const std::string id = arguments.requireOperands({"ID"})[0];
    SettingsSession session(rootOf(arguments));
    Target target = targetOf(arguments);
    const ListedProject& listed = requireOwn(target, id);
    if (!arguments.has("force")) {
        requireUndamaged(target.store.damagedUserFiles());
    }
    const std::vector<std::string> users = target.store.usersOf(id);
    const std::vector<std::string> foreign = ProjectStore::foreignFilesOf(*listed.project);
    if (!listed.project->canDeleteRename()) {
        throw Failure(failed, "project " + listed.idAndName() + " does not let itself be deleted");
    }
    if (!arguments.has("force") && !users.empty()) {
        throw Failure(failed,
                      "project " + listed.idAndName() + " is what runs for " + joined(users, ", ") +
                          (target.store.isOfFolders() ? "; give that another one with trigoractl watch"
                                                      : "; bind another one first") +
                          ", or use --force");
    }
    if (!arguments.has("force") && !foreign.empty()) {
        throw Failure(failed, "the folder of project " + listed.idAndName() +
                                  " holds other files, which would "
                                  "be deleted, too: " +
                                  joined(foreign, ", ") + "; move them away, or use --force");
    }

    const std::string text = listed.idAndName();
    session.allowChanges(target.driver);
    target.store.remove(listed.project);
    ChangeReport report = reportOn("Project " + text + " was deleted.", *listed.project, id, target);
    if (!users.empty()) {
        report.addNote("nothing runs any more for " + joined(users, ", "));
    }
    report.print(arguments, out);
    return done;
}

/// The keys with their allowed values.
std::string scanSettingHelp() {
    constexpr std::size_t nameColumn = 18;
    constexpr std::size_t meaningColumn = 46;
    std::ostringstream text;
    text << "Keys of the scan settings, with the values that are allowed:\n";
    for (const ScanSetting& setting : scan_settings::all) {
        const auto padded = [](std::string_view word, std::size_t width) {
            return std::string(word) + std::string(word.size() < width ? width - word.size() : 1, ' ');
        };
        text << "  " << padded(setting.key, nameColumn) << padded(setting.meaning, meaningColumn)
             << allowedValues(setting) << '\n';
    }
    return text.str();
}

/// A help that ends with the keys of the scan settings.
std::string withKeys(std::string_view details) { return std::string(details) + "\n" + scanSettingHelp(); }

} // namespace

Command projectNewCommand() {
    static const std::string details = withKeys(
        "The project gets the first free ID from 701 to 799 and the default scan settings. With --model it\n"
        "goes into the list of a model that keeps its projects apart, else into the list that all share.\n");
    return {.name = "project new",
            .operands = "NAME [KEY=VALUE…]",
            .summary = "Makes a project of your own.",
            .options = writeOptions,
            .run = makeNew,
            .details = details,
            .examples = newExamples,
            .usesPlatform = true};
}

Command projectCopyCommand() {
    static const std::string details =
        withKeys("The copy gets the first free ID from 701 to 799. A predefined project can be copied if\n"
                 "it scans with settings of its own.\n");
    return {.name = "project copy",
            .operands = "ID NEWNAME [KEY=VALUE…]",
            .summary = "Makes a project of your own from another one.",
            .options = copyOptions,
            .run = copy,
            .details = details,
            .examples = copyExamples,
            .usesPlatform = true};
}

Command projectSetCommand() {
    static const std::string details =
        withKeys("Only your own projects can be changed. What is not named stays as it is.\n");
    return {.name = "project set",
            .operands = "ID [KEY=VALUE…]",
            .summary = "Changes scan settings or the action of a project of your own.",
            .options = writeOptions,
            .run = set,
            .details = details,
            .examples = setExamples,
            .usesPlatform = true};
}

Command projectDeleteCommand() {
    return {.name = "project delete",
            .operands = "ID",
            .summary = "Deletes a project of your own with its files.",
            .options = deleteOptions,
            .run = remove,
            .details =
                "A project that something is bound to is kept, and so is one whose folder holds other\n"
                "files, unless --force is given.\n",
            .examples = deleteExamples,
            .usesPlatform = true};
}

} // namespace trigora::tools
