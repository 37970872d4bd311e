#include "tools/commands/CommandProject.h"

#include "platform/Value.h"
#include "projects/settings/ScanSettingSchema.h"
#include "tools/frame/ChangeReport.h"
#include "tools/frame/ModelOption.h"
#include "tools/frame/Report.h"
#include "tools/settings/InstalledActions.h"
#include "tools/settings/OwnProjects.h"
#include "tools/settings/SettingsSession.h"
#include "tools/words/Wording.h"

#include <algorithm>
#include <array>
#include <sstream>

namespace trigora::tools {

namespace {

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

OwnProjects projectsOf(SettingsSession& session, const Arguments& arguments) {
    const auto driver = driverOption(arguments);
    if (arguments.has("folder")) {
        if (driver) {
            throw Failure(wrongUsage, "--folder and --model do not go together: the projects for watched "
                                      "folders belong to no model");
        }
        return OwnProjects::ofFolders(session);
    }
    return OwnProjects::ofDriver(session, driver);
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

ScanSettingChanges changesAfter(const Arguments& arguments, std::size_t count, const OwnProjects& projects) {
    const std::span<const std::string> operands(arguments.operands());
    ScanSettingChanges changes;
    for (const std::string& word : operands.subspan(std::min(count, operands.size()))) {
        const std::size_t equals = word.find('=');
        if (equals == std::string::npos) {
            throw Failure(wrongUsage, "what is " + printable(word) + "? Scan settings are written KEY=VALUE");
        }
        changes.push_back(readScanSettingChange(word.substr(0, equals), word.substr(equals + 1)));
    }
    if (!changes.empty() && projects.isOfFolders()) {
        throw Failure(wrongUsage, "a project for watched folders has no scan settings");
    }
    return changes;
}

ExitCode makeNew(const Arguments& arguments, std::ostream& out, std::ostream&) {
    const std::string& name = firstOperand(arguments, "NAME");
    SettingsSession session(rootOf(arguments));
    OwnProjects projects = projectsOf(session, arguments);
    const ScanSettingChanges changes = changesAfter(arguments, 1, projects);
    const auto action = actionOfOptions(arguments);
    if (projects.isOfFolders() && !action) {
        throw Failure(wrongUsage, "a project for watched folders needs --action or --application");
    }
    SettingsChange change = projects.makeNew(name, changes, action);
    if (!action) {
        const std::string list = projects.isOfFolders() ? " --folder" : modelOptionText(projects.driver());
        change.addNote("nothing is opened after the scan; trigoractl project set " +
                       platform::textAt(change.facts, "project").value_or("") + list +
                       " --action ID changes that");
    }
    print(change, arguments, out);
    return done;
}

ExitCode copy(const Arguments& arguments, std::ostream& out, std::ostream&) {
    const std::string& sourceID = firstOperand(arguments, "ID");
    if (arguments.operands().size() < 2) {
        throw Failure(wrongUsage, "NEWNAME is missing");
    }
    SettingsSession session(rootOf(arguments));
    OwnProjects projects = projectsOf(session, arguments);
    print(projects.copy(sourceID, arguments.operands()[1], changesAfter(arguments, 2, projects)), arguments,
          out);
    return done;
}

ExitCode set(const Arguments& arguments, std::ostream& out, std::ostream&) {
    const std::string& id = firstOperand(arguments, "ID");
    SettingsSession session(rootOf(arguments));
    OwnProjects projects = projectsOf(session, arguments);
    const ScanSettingChanges changes = changesAfter(arguments, 1, projects);
    const auto action = actionOfOptions(arguments);
    if (changes.empty() && !action) {
        throw Failure(wrongUsage, "there is nothing to set: give KEY=VALUE, --action or --application");
    }
    print(projects.change(id, changes, action), arguments, out);
    return done;
}

ExitCode remove(const Arguments& arguments, std::ostream& out, std::ostream&) {
    const std::string id = arguments.requireOperands({"ID"})[0];
    SettingsSession session(rootOf(arguments));
    OwnProjects projects = projectsOf(session, arguments);
    print(projects.remove(id, arguments.has("force")), arguments, out);
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
